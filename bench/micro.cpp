// Measures single steps of a run: encoding, decoding, text, lines and their fields.
#include <benchmark/benchmark.h>
#include "import/fru_file.h"
#include "xml/encoder.h"
#include "xml/request.h"
#include "xml/response.h"

#include <fstream>
#include <sstream>
#include <string>

namespace {

using Pegasus::CIMInstance;
using Pegasus::CIMProperty;
using Pegasus::String;

constexpr const char* line = R"("A120003","MEMORY","SIZE=512","512 MB registered ECC DIMM, low")";

CIMInstance fru() {
  CIMInstance instance("KVAXDT_FRU");
  for (const char* name : {"FRUNumber", "Name", "Description", "IdentifyingNumber", "Vendor"}) {
    instance.addProperty(CIMProperty(name, "512 MB registered ECC DIMM, low profile (<30 mm)"));
  }
  return instance;
}

// An answer with two instances of `size` bytes of text each.
std::string enumeration(std::size_t size) {
  CIMInstance instance("KVAXDT_FRU");
  instance.setPath(Pegasus::CIMObjectPath("", "", "KVAXDT_FRU",
                                          {{"FRUNumber", "A1", Pegasus::CIMKeyBinding::STRING}}));
  for (int i = 0; i < 10; ++i) {
    instance.addProperty(CIMProperty(String("Property") + std::to_string(i).c_str(),
                                     String(std::string(size / 10, 'x'))));
  }
  std::string named = "<VALUE.NAMEDINSTANCE>";
  Pegasus::xml::appendInstanceName(named, instance.getPath());
  Pegasus::xml::appendInstance(named, instance);
  named += "</VALUE.NAMEDINSTANCE>";
  return Pegasus::xml::encodeResponse("1", "EnumerateInstances", named + named);
}

void encodeCreation(benchmark::State& state) {
  const CIMInstance instance = fru();
  for (auto _ : state) {
    benchmark::DoNotOptimize(Pegasus::xml::RequestWriter("1", "CreateInstance", "root/kvasd")
                                 .instance("NewInstance", instance)
                                 .finish());
  }
}
BENCHMARK(encodeCreation);

void decodeEnumeration(benchmark::State& state) {
  const std::string answer = enumeration(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    const Pegasus::xml::Response response(answer, "1", "EnumerateInstances");
    benchmark::DoNotOptimize(response.namedInstances());
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(answer.size()) * state.iterations());
}
BENCHMARK(decodeEnumeration)->Arg(100)->Arg(5000)->Arg(500000);

// As an OpenPegasus 2.14.4 server answered: two processors with 54 properties, most of them null.
void decodeProcessors(benchmark::State& state) {
  std::stringstream answer;
  answer << std::ifstream(MORVIK_BENCH_DIR "/processors.xml").rdbuf();
  for (auto _ : state) {
    const Pegasus::xml::Response response(answer.str(), "1001", "EnumerateInstances");
    benchmark::DoNotOptimize(response.namedInstances());
  }
}
BENCHMARK(decodeProcessors);

void stringFromUtf8(benchmark::State& state) {
  const std::string_view text =
      state.range(0) == 0 ? "512 MB registered ECC DIMM, low" : "Clavier, français, 105 touches";
  for (auto _ : state) {
    benchmark::DoNotOptimize(String(text));
  }
}
BENCHMARK(stringFromUtf8)->ArgName("beyondAscii")->Arg(0)->Arg(1);

void stringToBytes(benchmark::State& state) {
  const String text("512 MB registered ECC DIMM, low profile (<30 mm)");
  for (auto _ : state) {
    const char* bytes = text.allocateCString();
    benchmark::DoNotOptimize(bytes);
    delete[] bytes;
  }
}
BENCHMARK(stringToBytes);

void readLines(benchmark::State& state) {
  std::string text;
  for (int i = 0; i < 1000; ++i) {
    text.append(line).append("\n");
  }
  for (auto _ : state) {
    std::istringstream file(text);
    String read;
    while (readLine(file, read)) {
      benchmark::DoNotOptimize(read);
    }
  }
  state.SetItemsProcessed(1000 * state.iterations());
}
BENCHMARK(readLines);

void recogniseAndCut(benchmark::State& state) {
  const String read(line);
  for (auto _ : state) {
    benchmark::DoNotOptimize(isComment(read));
    benchmark::DoNotOptimize(findCategory(cutCategoryToken(read)));
    benchmark::DoNotOptimize(cutEntryFields(read));
  }
}
BENCHMARK(recogniseAndCut);

}  // namespace

BENCHMARK_MAIN();
