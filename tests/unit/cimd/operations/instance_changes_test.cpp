// Creating, changing and deleting instances by requests, with a journal that may fail.

#include "support.h"

namespace cimd::test {
namespace {

constexpr const char* changesSchema = R"(
class Base { [Key] string Id; string Text = "dflt"; uint8 Number; string Many[]; Base ref Next;
             string Two[2]; datetime When; };
class Sub : Base { boolean Flag = true; };
[Abstract] class Nothing { [Key] string Id; };
class Numbers { [Key] uint16 n; };
)";

std::string property(const std::string& name, const std::string& type, const std::string& content) {
  return "<PROPERTY NAME=\"" + name + "\" TYPE=\"" + type + "\">" + content + "</PROPERTY>";
}

std::string text(const std::string& name, const std::string& content) {
  return property(name, "string", value(content));
}

std::string instanceXml(const std::string& cls, const std::string& properties) {
  return "<INSTANCE CLASSNAME=\"" + cls + "\">" + properties + "</INSTANCE>";
}

class InstanceChanges : public Test {
 protected:
  InstanceChanges() {
    const std::string many =
        "<PROPERTY.ARRAY NAME=\"Many\" TYPE=\"string\">" + values({"a", "b"}) + "</PROPERTY.ARRAY>";
    EXPECT_EQ(creating("Base", text("Id", "1") + text("Text", "one") +
                                   property("Number", "uint8", value("1")) + many),
              0);
  }
  int creating(const std::string& cls, const std::string& properties) {
    return server_.errorOf("CreateInstance", {{"NewInstance", instanceXml(cls, properties)}});
  }
  // Modifies Base.Id="1", or the instance with this name.
  int modifying(const std::string& properties, const Parameters& more = {},
                const std::string& name = instanceName("Base", "Id", "1"),
                const std::string& cls = "Base") {
    Parameters parameters{
        {"ModifiedInstance",
         "<VALUE.NAMEDINSTANCE>" + name + instanceXml(cls, properties) + "</VALUE.NAMEDINSTANCE>"}};
    parameters.insert(parameters.end(), more.begin(), more.end());
    return server_.errorOf("ModifyInstance", parameters);
  }
  int setting(const std::string& name, const std::string& content) {
    Parameters parameters{{"InstanceName", instanceName("base", "ID", "1")},
                          {"PropertyName", value(name)}};
    if (!content.empty()) {
      parameters.emplace_back("NewValue", content);
    }
    return server_.errorOf("SetProperty", parameters);
  }
  std::string whole() {
    return server_.ask("GetInstance", {{"InstanceName", instanceName("Base", "Id", "1")}});
  }
  // The XML of one value; nothing for null.
  std::string now(const std::string& name) {
    return server_.ask("GetProperty", {{"InstanceName", instanceName("Base", "Id", "1")},
                                       {"PropertyName", value(name)}});
  }

  Server server_{changesSchema};
};

// The other rules are those of the model.
TEST_F(InstanceChanges, ANewInstanceIsNamedAndOneThatCannotBeReadIsNotThere) {
  EXPECT_EQ(creating("Base", text("Id", "2") + property("Number", "uint8", value("256"))),
            CIM_ERR_INVALID_PARAMETER);
  EXPECT_EQ(creating("Base", text("Id", "2") + text("ID", "3")), CIM_ERR_INVALID_PARAMETER);
  EXPECT_EQ(server_.ask("EnumerateInstanceNames", {{"ClassName", className("Base")}}),
            instanceName("Base", "Id", "1"));
  EXPECT_EQ(server_.ask("CreateInstance", {{"NewInstance", instanceXml("bASE", text("iD", "2"))}}),
            instanceName("Base", "Id", "2"));
}

TEST_F(InstanceChanges, ModifyChangesGivenPropertiesOnly) {
  EXPECT_EQ(modifying(text("TEXT", "new") + property("Number", "uint8", "")), 0);
  EXPECT_EQ(now("Text"), value("new"));
  EXPECT_EQ(now("Number"), "");
  EXPECT_EQ(now("Many"), values({"a", "b"}));
  // A key may be there if it stays what it is; nothing at all is a change, too.
  EXPECT_EQ(modifying(text("Id", "1") + text("Text", "again")), 0);
  EXPECT_EQ(modifying(""), 0);
  EXPECT_EQ(now("Text"), value("again"));
}

TEST_F(InstanceChanges, ModifyChangesListedPropertiesOnly) {
  const std::string both = text("Text", "new") + property("Number", "uint8", value("9"));
  EXPECT_EQ(modifying(both, {{"PropertyList", values({"NUMBER", "number"})}}), 0);
  EXPECT_EQ(now("Number"), value("9"));
  EXPECT_EQ(now("Text"), value("one"));
  EXPECT_EQ(modifying(both, {{"PropertyList", values({})}}), 0);
  EXPECT_EQ(now("Text"), value("one"));
  // A property that is listed and not given gets its default, or null if it has none.
  EXPECT_EQ(modifying("", {{"PropertyList", values({"Text", "Many", "Id"})},
                           {"IncludeQualifiers", value("false")}}),
            0);
  EXPECT_EQ(now("Text"), value("dflt"));
  EXPECT_EQ(now("Many"), "");
  EXPECT_EQ(now("Number"), value("9"));
}

TEST_F(InstanceChanges, AWrongModificationChangesNothingAndHasItsError) {
  const std::string good = text("Text", "new");
  const std::string before = whole();
  struct Case {
    std::string properties;
    Parameters more;
    int error;
  };
  for (const Case& c : {
           Case{good + text("Unknown", "x"), {}, CIM_ERR_NO_SUCH_PROPERTY},
           {good, {{"PropertyList", values({"Text", "Unknown"})}}, CIM_ERR_NO_SUCH_PROPERTY},
           {good + text("Id", "2"), {}, CIM_ERR_INVALID_PARAMETER},
           {good + property("Id", "string", ""), {}, CIM_ERR_INVALID_PARAMETER},
           {good + text("Number", "1"), {}, CIM_ERR_INVALID_PARAMETER},
           {good + text("text", "x"), {}, CIM_ERR_INVALID_PARAMETER},
           {good, {{"PropertyList", value("Text")}}, CIM_ERR_INVALID_PARAMETER},
           {good, {{"IncludeQualifiers", values({"x"})}}, CIM_ERR_INVALID_PARAMETER},
           {good, {{"LocalOnly", value("true")}}, CIM_ERR_INVALID_PARAMETER},
       }) {
    EXPECT_EQ(modifying(c.properties, c.more), c.error) << c.properties;
  }
  EXPECT_EQ(modifying(good, {}, instanceName("Base", "Id", "2")), CIM_ERR_NOT_FOUND);
  EXPECT_EQ(modifying(good, {}, instanceName("None", "Id", "1"), "None"), CIM_ERR_INVALID_CLASS);
  // The name of one class and the instance of another.
  EXPECT_EQ(modifying(good, {}, instanceName("Base", "Id", "1"), "Sub"), CIM_ERR_INVALID_PARAMETER);
  EXPECT_EQ(whole(), before);
}

TEST_F(InstanceChanges, SetPropertySetsOneValueOfItsType) {
  EXPECT_EQ(setting("text", value(" new ")), 0);
  EXPECT_EQ(now("Text"), value("&#32;new&#32;"));
  EXPECT_EQ(setting("Number", value("0xFF")), 0);
  EXPECT_EQ(now("Number"), value("255"));
  EXPECT_EQ(setting("Many", values({"x", ""})), 0);
  EXPECT_EQ(now("Many"), values({"x", ""}));
  EXPECT_EQ(setting("When", value("20261121093000.000000+060")), 0);
  EXPECT_EQ(
      setting("Next", "<VALUE.REFERENCE>" + instanceName("Base", "Id", "2") + "</VALUE.REFERENCE>"),
      0);
  EXPECT_EQ(attributes(now("Next"), "INSTANCENAME", "CLASSNAME"), "Base ");
  // Without a value it becomes null, whatever the default.
  EXPECT_EQ(setting("Text", ""), 0);
  EXPECT_EQ(now("Text"), "");
  EXPECT_EQ(setting("Id", value("1")), 0);
}

TEST_F(InstanceChanges, NullElementsOfArraysStayNull) {
  const std::string many =
      "<VALUE.ARRAY><VALUE>a</VALUE><VALUE.NULL/><VALUE></VALUE></VALUE.ARRAY>";
  EXPECT_EQ(setting("Many", many), 0);
  EXPECT_EQ(now("Many"), many);
  EXPECT_EQ(modifying("<PROPERTY.ARRAY NAME=\"Many\" TYPE=\"string\"><VALUE.ARRAY><VALUE.NULL/>"
                      "</VALUE.ARRAY></PROPERTY.ARRAY>"),
            0);
  EXPECT_EQ(now("Many"), "<VALUE.ARRAY><VALUE.NULL/></VALUE.ARRAY>");
}

// A reference to an instance of `cls`, with more of its path around the name if wanted.
std::string reference(const std::string& cls, const std::string& before = "",
                      const std::string& after = "") {
  return "<VALUE.REFERENCE>" + before + instanceName(cls, "Id", "1") + after + "</VALUE.REFERENCE>";
}

TEST_F(InstanceChanges, ReferencesPointToInstancesOfTheirClass) {
  EXPECT_EQ(setting("Next", reference("Sub")), 0);
  EXPECT_EQ(setting("Next", reference("base")), 0);
  EXPECT_EQ(setting("Next", reference("Numbers")), CIM_ERR_INVALID_PARAMETER);
  const auto nextOf = [](const std::string& cls) {
    return text("Id", "3") + "<PROPERTY.REFERENCE NAME=\"Next\">" + reference(cls) +
           "</PROPERTY.REFERENCE>";
  };
  EXPECT_EQ(creating("Base", nextOf("Numbers")), CIM_ERR_INVALID_PARAMETER);
  EXPECT_EQ(modifying(nextOf("Numbers")), CIM_ERR_INVALID_PARAMETER);
  EXPECT_EQ(creating("Base", nextOf("Sub")), 0);
  // The classes of other namespaces are not known here.
  EXPECT_EQ(setting("Next", reference("Numbers",
                                      "<LOCALINSTANCEPATH><LOCALNAMESPACEPATH><NAMESPACE "
                                      "NAME=\"other\"/></LOCALNAMESPACEPATH>",
                                      "</LOCALINSTANCEPATH>")),
            0);
}

TEST_F(InstanceChanges, AWrongValueForAPropertyIsATypeMismatch) {
  const std::string before = whole();
  struct Case {
    const char* property;
    std::string content;
  };
  for (const Case& c :
       {Case{"Number", value("one")},
        {"Number", value("256")},
        {"Number", value("-1")},
        {"Number", values({"1"})},
        {"Text", values({"a"})},
        {"Text", "<VALUE.REFERENCE>" + instanceName("Base", "Id", "2") + "</VALUE.REFERENCE>"},
        {"Many", value("a")},
        {"When", value("today")},
        {"Next", value("Base.Id=1")}}) {
    EXPECT_EQ(setting(c.property, c.content), CIM_ERR_TYPE_MISMATCH)
        << c.property << ' ' << c.content;
  }
  EXPECT_EQ(setting("Unknown", value("x")), CIM_ERR_NO_SUCH_PROPERTY);
  EXPECT_EQ(setting("Id", value("2")), CIM_ERR_INVALID_PARAMETER);
  EXPECT_EQ(setting("Two", values({"a", "b", "c"})), CIM_ERR_INVALID_PARAMETER);
  EXPECT_EQ(whole(), before);
}

class JournaledChanges : public InstanceChanges {
 protected:
  JournaledChanges() {
    server_.repository.setJournal(&journal_);
    EXPECT_EQ(creating("Base", text("Id", "p") + text("Text", "kept")), 0);
  }
  std::string everything() {
    return server_.ask("EnumerateInstances", {{"ClassName", className("Base")}});
  }

  FakeJournal journal_;
  const std::string published_ = instanceName("Base", "Id", "p");
};

TEST_F(JournaledChanges, ChangesOfPublishedInstancesAreWrittenFirst) {
  EXPECT_EQ(modifying(text("Text", "new"), {}, published_), 0);
  EXPECT_EQ(server_.errorOf("SetProperty", {{"InstanceName", published_},
                                            {"PropertyName", value("Text")},
                                            {"NewValue", value("newer")}}),
            0);
  EXPECT_EQ(server_.errorOf("DeleteInstance", {{"InstanceName", published_}}), 0);
  const std::string put = "put root/kvasd Base\n";
  EXPECT_EQ(journal_.entries, put + put + put + "remove root/kvasd\n");
  EXPECT_NE(journal_.lastXml.find(">newer<"), std::string::npos) << journal_.lastXml;
  EXPECT_EQ(server_.errorOf("GetInstance", {{"InstanceName", published_}}), CIM_ERR_NOT_FOUND);
}

TEST_F(JournaledChanges, DeclaredInstancesAreReadOnly) {
  journal_.entries.clear();
  server_.repository.nameSpace("root/kvasd")
      .declareInstance(instance("Base", {{"Id", "d"}}),
                       std::make_shared<const std::string>("a \x01<file>.mof"));
  const std::string before = everything();
  const std::string name = instanceName("Base", "Id", "d");
  EXPECT_EQ(server_.ask("DeleteInstance", {{"InstanceName", name}}),
            "2: CIM_ERR_ACCESS_DENIED: declared by a ?&lt;file&gt;.mof ");
  EXPECT_EQ(modifying(text("Text", "new"), {}, name), CIM_ERR_ACCESS_DENIED);
  EXPECT_EQ(modifying("", {{"PropertyList", values({})}}, name), CIM_ERR_ACCESS_DENIED);
  EXPECT_EQ(server_.errorOf("SetProperty", {{"InstanceName", name},
                                            {"PropertyName", value("Text")},
                                            {"NewValue", value("new")}}),
            CIM_ERR_ACCESS_DENIED);
  EXPECT_EQ(creating("Base", text("Id", "d")), CIM_ERR_ALREADY_EXISTS);
  EXPECT_EQ(everything(), before);
  EXPECT_EQ(journal_.entries, "");
}

TEST_F(JournaledChanges, WrongRequestsAreNotWritten) {
  journal_.entries.clear();
  EXPECT_NE(creating("Base", text("Id", "p")), 0);
  EXPECT_NE(creating("Base", text("Unknown", "p")), 0);
  EXPECT_NE(modifying(text("Unknown", "x"), {}, published_), 0);
  EXPECT_NE(server_.errorOf("DeleteInstance", {{"InstanceName", instanceName("Base", "Id", "x")}}),
            0);
  EXPECT_EQ(journal_.entries, "");
}

TEST_F(JournaledChanges, AFailedWriteChangesNothing) {
  const std::string before = everything();
  for (const auto state : {FakeJournal::refuses, FakeJournal::breaks}) {
    journal_.state = state;
    EXPECT_EQ(creating("Base", text("Id", "new")), CIM_ERR_FAILED);
    EXPECT_EQ(modifying(text("Text", "new"), {}, published_), CIM_ERR_FAILED);
    EXPECT_EQ(server_.errorOf("SetProperty", {{"InstanceName", published_},
                                              {"PropertyName", value("Text")},
                                              {"NewValue", value("new")}}),
              CIM_ERR_FAILED);
    EXPECT_EQ(server_.errorOf("DeleteInstance", {{"InstanceName", published_}}), CIM_ERR_FAILED);
    EXPECT_EQ(everything(), before);
  }
  EXPECT_EQ(server_.ask("DeleteInstance", {{"InstanceName", published_}}),
            "1: CIM_ERR_FAILED: the disk is broken ");
  journal_.state = FakeJournal::works;
  EXPECT_EQ(creating("Base", text("Id", "new")), 0);
  EXPECT_EQ(server_.errorOf("DeleteInstance", {{"InstanceName", published_}}), 0);
}

}  // namespace
}  // namespace cimd::test
