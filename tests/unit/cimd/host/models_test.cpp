// What machines call themselves by --model and --models.
#include "host/models.h"

#include <stdexcept>

#include "smbios_support.h"

namespace cimd::test {
namespace {

using Names = std::map<String, String>;

TEST(Models, FileHasOneProductOnEachLine) {
  EXPECT_EQ(parseModels("", "f"), Names());
  EXPECT_EQ(parseModels("# comment\n\n \t\r\n"
                        " ProL 5 =\t1234-ABC \r\n"
                        "L\u00fcfter=a = b # c",
                        "f"),
            (Names{{"ProL 5", "1234-ABC"}, {"L\u00fcfter", "a = b # c"}}));
}

TEST(Models, WrongLinesAreNamed) {
  const auto errorOf = [](std::string_view text) -> std::string {
    try {
      parseModels(text, "f");
    } catch (const std::runtime_error& error) {
      return error.what();
    }
    return "";
  };
  EXPECT_EQ(errorOf("a=b\n\nProL\n"), "f:3: not of the form PRODUCT NAME = MODEL");
  EXPECT_EQ(errorOf("=b"), "f:1: no product name");
  EXPECT_EQ(errorOf("a= \n"), "f:1: no model");
  EXPECT_EQ(errorOf("a=b\n a = c"), "f:2: duplicate product name 'a'");
  EXPECT_EQ(errorOf("a=\xFC"), "f:1: not UTF-8, or a control character");
  EXPECT_EQ(errorOf("a\x01=b"), "f:1: not UTF-8, or a control character");
  EXPECT_EQ(errorOf(std::string_view("a=b\0", 4)), "f:1: not UTF-8, or a control character");
}

TEST(Models, ModelTakesThePlaceOfTheProductName) {
  const Models byProduct = {.byProduct = {{"ProL", "1234"}, {"OEM", "2345"}}};
  const auto modelOf = [](const char* product, const Models& models) {
    const Inventory inventory = takeInventory(
        hostWith({systemStructure(product, "S1"), processorStructure("CPU", 1800)}), models);
    EXPECT_EQ(inventory.system->serialNumber, String("S1"));
    EXPECT_EQ(inventory.processors.size(), 1U) << "the rest stays";
    EXPECT_TRUE(inventory.messages.empty());
    return inventory.system->model.value_or("none").toUtf8();
  };
  EXPECT_EQ(modelOf(" ProL ", byProduct), "1234");
  EXPECT_EQ(modelOf("ProL 5", byProduct), "ProL 5");
  EXPECT_EQ(modelOf("OEM", byProduct), "2345") << "even a placeholder";
  EXPECT_EQ(modelOf("OEM", {.any = "3456"}), "3456");
}

TEST(Models, OneForEveryMachineNeedsNoProductName) {
  const Models any = {.any = "3456"};
  EXPECT_EQ(takeInventory(hostWith({}), any).system->model, String("3456"));
  EXPECT_EQ(takeInventory(HostBytes(), any).system->model, String("3456"));
  HostBytes unreadable;
  unreadable.areTablesUnreadable = true;
  EXPECT_FALSE(takeInventory(unreadable, any).system);
}

}  // namespace
}  // namespace cimd::test
