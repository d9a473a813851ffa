// How the machine type is taken from the model.
#include "cim/machine.h"

#include <gtest/gtest.h>

#include "fake_client.h"

using Pegasus::CIMClient;
using Pegasus::CIMInstance;
using Pegasus::CIMProperty;
using Pegasus::CIMValue;
using Pegasus::String;

namespace {

const char* const className = "KVAXDT_ComputerSystemDetails";

struct Answer {
  int result;
  String machineType;
};

class MachineType : public testing::Test {
 protected:
  void SetUp() override { fakeServer = {}; }

  static CIMInstance system(const CIMValue& model) {
    return instanceWith(className, {CIMProperty("name", CIMValue("box")), {"model", model}});
  }

  static Answer ask() {
    CIMClient client(1);
    Answer answer{-1, String()};
    answer.result = getMachineType(client, answer.machineType);
    return answer;
  }

  static void expectType(const String& model, const String& machineType) {
    fakeServer.classes[className] = {system(CIMValue(model))};
    const Answer answer = ask();
    EXPECT_EQ(answer.result, 1) << model;
    EXPECT_EQ(answer.machineType, machineType) << model;
  }
};

TEST_F(MachineType, IsTheTextBetweenTheBracketsOfTheModel) {
  expectType("Server 123 -[1234ABX]-", "1234");
  expectType("[1234]", "1234");
  expectType("[12]", "12");
}

TEST_F(MachineType, IsEmptyForEmptyBrackets) {
  expectType("x[]y", "");
}

TEST_F(MachineType, IsTheBeginningOfAModelWithoutBrackets) {
  expectType("1234ABX", "1234");
  expectType("12", "12");
  expectType("", "");
}

TEST_F(MachineType, IsTheBeginningOfAModelWithOneBracket) {
  expectType("ab[1234", "ab[1");
  expectType("ab1234]", "ab12");
  expectType("ab]1234", "ab]1");
}

TEST_F(MachineType, IsEverythingAfterTheOpenWhenTheFirstCloseIsBeforeIt) {
  expectType("x]y[1234ABX]", "1234");
  expectType("x]y[1234ABX", "1234");
  expectType("][12", "12");
  expectType("][", "");
  expectType("x]y[12]", "12]");
}

TEST_F(MachineType, EndsAtTheFirstClose) {
  expectType("[12]34]", "12");
  expectType("[12[34]", "12[3");
  expectType("[12][3456]", "12");
  expectType("[[12]]", "[12");
}

TEST_F(MachineType, KeepsBlanks) {
  expectType("[12 34]", "12 3");
  expectType("[ 1234]", " 123");
}

TEST_F(MachineType, KeepsCharactersOfEightBits) {
  expectType("[M\u00FCll]", "M\u00FCll");
}

TEST_F(MachineType, FailsForWiderCharacters) {
  fakeServer.classes[className] = {system(CIMValue("[12\u4E2D4]"))};
  EXPECT_EQ(ask().result, 0);
  fakeServer.classes[className] = {system(CIMValue("[1234\u0100]"))};
  EXPECT_EQ(ask().result, 0) << "the conversion precedes the cut to four characters";
}

TEST_F(MachineType, WiderCharactersOutsideTheBracketsDoNoHarm) {
  expectType("\u4E2D[1234]", "1234");
}

TEST_F(MachineType, IsEmptyWithoutInstance) {
  fakeServer.classes[className] = {};
  const Answer answer = ask();
  EXPECT_EQ(answer.result, 1);
  EXPECT_EQ(answer.machineType, "");
}

TEST_F(MachineType, IsThatOfTheFirstInstance) {
  fakeServer.classes[className] = {system(CIMValue("[1111]")), system(CIMValue("[2222]"))};
  EXPECT_EQ(ask().machineType, "1111");
}

TEST_F(MachineType, IsLeftAloneWhenTheModelIsTheFirstProperty) {
  fakeServer.classes[className] = {
      instanceWith(className, {CIMProperty("model", CIMValue("[1234]"))})};
  const Answer answer = ask();
  EXPECT_EQ(answer.result, 1);
  EXPECT_EQ(answer.machineType, "");
}

TEST_F(MachineType, FailsWithoutModel) {
  fakeServer.classes[className] = {instanceWith(className, {CIMProperty("name", CIMValue("box"))})};
  EXPECT_EQ(ask().result, 0);
}

TEST_F(MachineType, FailsWithoutModelInTheFirstInstanceEvenIfALaterOneHasOne) {
  fakeServer.classes[className] = {instanceWith(className, {}), system(CIMValue("[2222]"))};
  EXPECT_EQ(ask().result, 0);
}

TEST_F(MachineType, IsEmptyForANullModel) {
  fakeServer.classes[className] = {system(CIMValue(Pegasus::CIMTYPE_STRING, false))};
  const Answer answer = ask();
  EXPECT_EQ(answer.result, 1);
  EXPECT_EQ(answer.machineType, "");
}

TEST_F(MachineType, FailsWhenTheServerRefuses) {
  EXPECT_EQ(ask().result, 0);
}

TEST_F(MachineType, FailsOnAnyException) {
  fakeServer.classes[className] = {system(CIMValue("[1234]"))};
  fakeServer.beforeAnswer = [](const std::string& call) {
    if (call.starts_with("enumerate")) {
      throw 42;  // NOLINT: no exception is too odd
    }
  };
  EXPECT_EQ(ask().result, 0);
}

TEST_F(MachineType, IsAskedForWithOneEnumeration) {
  expectType("[1234]", "1234");
  EXPECT_EQ(fakeServer.calls,
            (std::vector<std::string>{"CIMClient 1",
                                      "enumerateInstances root/kvasd KVAXDT_ComputerSystemDetails "
                                      "true true false false null"}));
}

}  // namespace
