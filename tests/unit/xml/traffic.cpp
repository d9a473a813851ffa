#include "traffic.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace {

std::string joinChunks(const std::string& chunked) {
  std::string body;
  for (std::size_t position = 0;;) {
    const std::size_t lineEnd = chunked.find("\r\n", position);
    const std::size_t size = std::stoul(chunked.substr(position, lineEnd - position), nullptr, 16);
    if (size == 0) {
      return body;
    }
    body += chunked.substr(lineEnd + 2, size);
    position = lineEnd + 2 + size + 2;
  }
}

}  // namespace

std::string recordedBody(const std::string& fileName) {
  std::ifstream file(MORVIK_TEST_DATA_DIR "/traffic/" + fileName, std::ios::binary);
  const std::string message{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  const std::size_t headerEnd = message.find("\r\n\r\n");
  if (headerEnd == std::string::npos) {
    throw std::runtime_error("no HTTP message in " + fileName);
  }
  const std::string body = message.substr(headerEnd + 4);
  const bool isChunked = message.find("transfer-encoding: chunked") < headerEnd;
  return isChunked ? joinChunks(body) : body;
}

std::vector<std::string> recordedCases() {
  const std::string ending = ".request.http";
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(MORVIK_TEST_DATA_DIR "/traffic")) {
    const std::string name = entry.path().filename().string();
    if (name.ends_with(ending) && name != "16-request-not-well-formed" + ending) {
      names.push_back(name.substr(0, name.size() - ending.size()));
    }
  }
  std::sort(names.begin(), names.end());
  return names;
}
