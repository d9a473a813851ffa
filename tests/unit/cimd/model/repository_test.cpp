// Namespaces, their instances, the names of these, and the limits on what clients publish.
#include "model/instance_key.h"
#include "model/names.h"

#include "support.h"

namespace cimd::test {
namespace {

TEST(Names, FoldLowersAsciiLettersOnly) {
  EXPECT_EQ(fold("AbZ_9"), u"abz_9");
  EXPECT_NE(fold("\xC3\x89"), fold("\xC3\xA9"));
}

TEST(Names, NamespaceEndsAreTrimmed) {
  EXPECT_EQ(trimNameSpace("//root/x/"), String("root/x"));
  EXPECT_EQ(trimNameSpace("/"), String());
}

TEST(Names, IdentifiersHaveLettersDigitsAndUnderscores) {
  for (const char* good : {"a", "_", "CIM_Fan2",
                           "Stra\xC3\x9F"
                           "e"}) {
    EXPECT_TRUE(isIdentifier(good)) << good;
  }
  for (const char* wrong : {"", "1a", "a b", "a-b", "a.b"}) {
    EXPECT_FALSE(isIdentifier(wrong)) << wrong;
  }
}

TEST(Names, NamespaceNamesArePartsBetweenSingleSlashes) {
  for (const char* good : {"root", "root/kvasd", "root/PG_Internal", "interop", "a/b-c/d.e"}) {
    EXPECT_TRUE(isNameSpaceName(good)) << good;
  }
  for (const char* wrong : {"", "/root", "root/", "root//a", "root a", "root:a"}) {
    EXPECT_FALSE(isNameSpaceName(wrong)) << wrong;
  }
}

constexpr const char* repositorySchema = R"(
  class Base { [Key] string Id; string Text = "none"; uint32 Number; string Two[2]; };
  class Derived : Base { string Extra; string Text = "none"; };
  [Abstract] class Nothing { [Key] string Id; };
  class Many { [Key] uint16 n; [Key] string s; [Key] boolean b; [Key] Base ref r; };
  class Values { [Key] real32 r; [Key] sint64 s; [Key] char16 c; };
  class Single { string x; };
)";

class RepositoryTest : public Test {
 protected:
  RepositoryTest() { loadText(repository_, repositorySchema); }

  NameSpace& nameSpace() { return repository_.nameSpace(defaultNameSpace); }
  void create(const char* cls, const char* id) {
    nameSpace().createInstance(instance(cls, {{"Id", id}}), Origin::published);
  }
  // The Ids of what an enumeration of the class returns.
  std::string listed(const char* cls) {
    std::string ids;
    for (const auto& stored : nameSpace().instances(nameSpace().classNamed(cls))) {
      ids += stored->instance.getProperty(0).getValue().toString().toUtf8() + ' ';
    }
    return ids;
  }
  CIMStatusCode creating(const CIMInstance& instance) {
    return statusOf([&] { nameSpace().createInstance(instance, Origin::published); });
  }

  Repository repository_;
};

TEST_F(RepositoryTest, NamespacesIgnoreCaseAndOuterSlashes) {
  EXPECT_EQ(&repository_.nameSpace("/ROOT/Kvasd/"), &nameSpace());
  EXPECT_EQ(statusOf([&] { repository_.nameSpace("root"); }), CIM_ERR_INVALID_NAMESPACE);
}

TEST_F(RepositoryTest, EnumerationsFollowTheOrderOfCreationAcrossSubclasses) {
  create("Base", "1");
  create("Derived", "2");
  create("Base", "3");
  create("Derived", "4");
  EXPECT_EQ(listed("Base"), "1 2 3 4 ");
  EXPECT_EQ(listed("Derived"), "2 4 ");
  nameSpace().deleteInstance(path("Derived", {{"Id", "2"}}));
  create("Derived", "2");
  EXPECT_EQ(listed("Base"), "1 3 4 2 ");
}

TEST_F(RepositoryTest, InstancesHaveEveryPropertyInTheOrderAndSpellingOfTheClass) {
  nameSpace().createInstance(instance("dERIVED", {{"extra", "e"}, {"ID", "1"}}), Origin::published);
  const auto stored = nameSpace().instance(path("derived", {{"id", "1"}}));
  const CIMInstance& instance = stored->instance;
  EXPECT_EQ(instance.getClassName(), String("Derived"));
  ASSERT_EQ(instance.getPropertyCount(), 5U);
  const std::vector<const char*> names{"Id", "Text", "Number", "Two", "Extra"};
  for (Uint32 i = 0; i < 5; ++i) {
    EXPECT_EQ(instance.getProperty(i).getName(), String(names[i]));
  }
  EXPECT_EQ(instance.getProperty(1).getValue().toString(), String("none"));
  EXPECT_TRUE(instance.getProperty(2).getValue().isNull());
  EXPECT_EQ(instance.getProperty(2).getType(), CIMTYPE_UINT32);
  // Overridden in Derived, so Derived's own; Id and Number come from Base as they are.
  EXPECT_TRUE(instance.getProperty(0).getPropagated());
  EXPECT_FALSE(instance.getProperty(1).getPropagated());
  EXPECT_FALSE(instance.getProperty(4).getPropagated());
}

TEST_F(RepositoryTest, OverriddenPropertiesKeepTheirOriginAndKeysStayKeys) {
  loadText(repository_,
           "#pragma namespace(\"root/b\")\n"
           "class A { [Key] string k; }; class B : A { string K; };");
  const Class& cls = repository_.nameSpace("root/b").classNamed("B");
  ASSERT_EQ(cls.propertyCount(), 1U);
  EXPECT_EQ(cls.property(0).name, String("K"));
  EXPECT_EQ(cls.property(0).originClass->name(), String("A"));
  EXPECT_EQ(cls.keys().size(), 1U);
}

TEST_F(RepositoryTest, EachFaultOfANewInstanceHasItsError) {
  EXPECT_EQ(creating(CIMInstance("NoSuchClass")), CIM_ERR_INVALID_CLASS);
  EXPECT_EQ(creating(instance("Nothing", {{"Id", "1"}})), CIM_ERR_NOT_SUPPORTED);
  EXPECT_EQ(creating(instance("Base", {})), CIM_ERR_INVALID_PARAMETER);
  EXPECT_EQ(creating(instance("Base", {{"Id", nullptr}})), CIM_ERR_INVALID_PARAMETER);
  for (const CIMProperty& wrong :
       {CIMProperty("NoSuchProperty", CIMValue("x")), CIMProperty("Text", CIMValue(Uint32{1})),
        CIMProperty("Number", CIMValue(CIMTYPE_STRING, false)),
        CIMProperty("Text", CIMValue(CIMTYPE_STRING, true)),
        CIMProperty("Two", CIMValue(Array<String>{"a", "b", "c"}))}) {
    CIMInstance given = instance("Base", {{"Id", "1"}});
    given.addProperty(wrong);
    EXPECT_EQ(creating(given), CIM_ERR_INVALID_PARAMETER) << wrong.getName().toUtf8();
  }
  EXPECT_EQ(listed("Base"), "");
  EXPECT_EQ(creating(instance("Base", {{"Id", "1"}})), CIM_ERR_SUCCESS);
  EXPECT_EQ(creating(instance("bASE", {{"iD", "1"}})), CIM_ERR_ALREADY_EXISTS);
  EXPECT_EQ(listed("Base"), "1 ");
}

TEST_F(RepositoryTest, TheSameKeysInASubclassAreAnotherInstance) {
  create("Base", "1");
  create("Derived", "1");
  EXPECT_EQ(listed("Base"), "1 1 ");
  nameSpace().deleteInstance(path("Base", {{"Id", "1"}}));
  EXPECT_EQ(listed("Derived"), "1 ");
}

TEST_F(RepositoryTest, StringKeysDifferInLetterCaseAndBlanks) {
  for (const char* id : {"a", "A", " a", "a ", "", " "}) {
    EXPECT_EQ(creating(instance("Base", {{"Id", id}})), CIM_ERR_SUCCESS) << id;
  }
}

TEST_F(RepositoryTest, UnknownNamesAreNotFound) {
  create("Base", "1");
  for (const CIMObjectPath& wrong :
       {path("Base", {{"Id", "2"}}), path("Derived", {{"Id", "1"}}), path("Base", {}),
        path("Base", {{"Id", "1"}, {"x", "1"}}), path("Base", {{"x", "1"}}),
        path("Base", {{"Id", "1"}, {"Id", "1"}})}) {
    EXPECT_EQ(statusOf([&] { nameSpace().instance(wrong); }), CIM_ERR_NOT_FOUND);
    EXPECT_EQ(statusOf([&] { nameSpace().deleteInstance(wrong); }), CIM_ERR_NOT_FOUND);
  }
  EXPECT_EQ(statusOf([&] { nameSpace().instance(path("None", {})); }), CIM_ERR_INVALID_CLASS);
  EXPECT_EQ(listed("Base"), "1 ");
}

TEST_F(RepositoryTest, NotFoundNamesTheInstanceWithoutItsNamespace) {
  CIMObjectPath wrong = path("Base", {{"Id", "a\"b"}});
  wrong.setNameSpace("root/kvasd");
  try {
    nameSpace().instance(wrong);
    FAIL();
  } catch (const CIMException& error) {
    EXPECT_EQ(error.getDescription(), "CIM_ERR_NOT_FOUND: Base.Id=\"a\\\"b\"");
  }
}

// --- names of instances

// Instances of these classes, and the names that find them.
class InstanceNames : public RepositoryTest {
 protected:
  InstanceNames() {
    CIMInstance many("Many");
    many.addProperty(CIMProperty("n", CIMValue(Uint16{16})));
    many.addProperty(CIMProperty("s", CIMValue("Text")));
    many.addProperty(CIMProperty("b", CIMValue(true)));
    many.addProperty(CIMProperty("r", CIMValue(path("Base", {{"Id", "1"}}))));
    EXPECT_EQ(creating(many), CIM_ERR_SUCCESS);
    CIMInstance values("Values");
    values.addProperty(CIMProperty("r", CIMValue(Real32{1.5F})));
    values.addProperty(CIMProperty("s", CIMValue(Sint64{-5})));
    values.addProperty(CIMProperty("c", CIMValue(Char16(u'x'))));
    EXPECT_EQ(creating(values), CIM_ERR_SUCCESS);
  }

  bool finds(const char* cls, const std::vector<CIMKeyBinding>& keys) {
    Array<CIMKeyBinding> bindings;
    for (const CIMKeyBinding& key : keys) {
      bindings.append(key);
    }
    const CIMObjectPath name("", "", cls, bindings);
    return statusOf([&] { nameSpace().instance(name); }) == CIM_ERR_SUCCESS;
  }
  // The instance of Many, by a name with this in place of the key of the same name.
  bool findsWith(const CIMKeyBinding& key) {
    std::vector<CIMKeyBinding> keys{n_, s_, b_, r_};
    for (CIMKeyBinding& other : keys) {
      if (String::equalNoCase(other.getName(), key.getName())) {
        other = key;
      }
    }
    return finds("many", keys);
  }

  static constexpr auto string = CIMKeyBinding::STRING;
  static constexpr auto numeric = CIMKeyBinding::NUMERIC;
  static constexpr auto boolean = CIMKeyBinding::BOOLEAN;
  const CIMKeyBinding n_{"n", "16", numeric};
  const CIMKeyBinding s_{"s", "Text", string};
  const CIMKeyBinding b_{"b", "TRUE", boolean};
  const CIMKeyBinding r_{"r", path("Base", {{"Id", "1"}})};
};

TEST_F(InstanceNames, OrderOfKeysAndLetterCaseOfNamesDoNotMatter) {
  EXPECT_TRUE(finds("Many", {r_, b_, s_, n_}));
  EXPECT_TRUE(findsWith({"N", "16", numeric}));
  EXPECT_TRUE(findsWith({"B", "true", boolean}));
  EXPECT_TRUE(findsWith({"R", path("BASE", {{"ID", "1"}})}));
}

TEST_F(InstanceNames, NumbersAndBooleansAreComparedByValueAndTextsByCharacter) {
  for (const char* form : {"16", "+16", "0x10", "0X10", "10000b", " 16 "}) {
    EXPECT_TRUE(findsWith({"n", form, numeric})) << form;
  }
  for (const char* form : {"17", "-16", "65552", "sixteen", ""}) {
    EXPECT_FALSE(findsWith({"n", form, numeric})) << form;
  }
  // Some clients mark every key as a string.
  EXPECT_TRUE(findsWith({"n", "16", string}));
  EXPECT_TRUE(findsWith({"b", "true", string}));
  EXPECT_FALSE(findsWith({"b", "FALSE", boolean}));
  EXPECT_FALSE(findsWith({"s", "text", string}));
  const auto findsValues = [&](const char* r, const char* s, const char* c) {
    return finds("Values", {{"r", r, numeric}, {"s", s, numeric}, {"c", c, string}});
  };
  EXPECT_TRUE(findsValues("15.0E-1", "-5", "x"));
  EXPECT_TRUE(findsValues("1.5e0", "-05", "x"));
  EXPECT_FALSE(findsValues("1.5", "5", "x"));
  EXPECT_FALSE(findsValues("1.6", "-5", "x"));
  EXPECT_FALSE(findsValues("1.5", "-5", "X"));
}

TEST_F(InstanceNames, ReferencesAreComparedAsPathsOnThisHost) {
  const auto on = [](const char* host, const char* nameSpace) {
    CIMObjectPath target = path("Base", {{"Id", "1"}});
    target.setHost(host);
    target.setNameSpace(nameSpace);
    return CIMKeyBinding("r", target);
  };
  for (const char* host : {"", "localhost", "127.0.0.1:5988", "[::1]"}) {
    EXPECT_TRUE(findsWith(on(host, "/Root/KVASD"))) << host;
  }
  EXPECT_FALSE(findsWith(on("example.com", "root/kvasd")));
  EXPECT_FALSE(findsWith(on("", "root/other")));
  EXPECT_FALSE(findsWith({"r", path("Base", {{"Id", "2"}})}));
  EXPECT_FALSE(findsWith({"r", "Base.Id=\"1\"", string}));
  EXPECT_FALSE(findsWith({"s", path("Base", {{"Id", "1"}})}));
}

// A reference to an instance with a number as its key, written in two ways.
TEST_F(RepositoryTest, KeysOfReferencesAreReadAsTheirClassHasThem) {
  loadText(repository_,
           "#pragma namespace(\"root/n\")\n"
           "class Number { [Key] uint16 n; }; class Link { [Key] Number ref To; };");
  NameSpace& numbers = repository_.nameSpace("root/n");
  const auto link = [](const CIMKeyBinding& number) {
    const CIMObjectPath target("", "", "Number", {number});
    CIMInstance created("Link");
    created.addProperty(CIMProperty("To", CIMValue(target)));
    created.setPath(CIMObjectPath("", "", "Link", {CIMKeyBinding("To", target)}));
    return created;
  };
  const CIMInstance first = link({"n", "16", CIMKeyBinding::NUMERIC});
  numbers.createInstance(first, Origin::published);
  for (const CIMKeyBinding& same : {CIMKeyBinding{"N", "0x10", CIMKeyBinding::STRING},
                                    CIMKeyBinding{"", "+16", CIMKeyBinding::NUMERIC}}) {
    EXPECT_EQ(statusOf([&] { numbers.createInstance(link(same), Origin::published); }),
              CIM_ERR_ALREADY_EXISTS);
    EXPECT_EQ(statusOf([&] { numbers.modifyInstance(link(same), CIMPropertyList()); }),
              CIM_ERR_SUCCESS);
  }
  EXPECT_EQ(numbers.instance(first.getPath())->instance.getProperty(0).getValue().toString(),
            String("Number.n=16"));
  const CIMInstance other = link({"n", "17", CIMKeyBinding::NUMERIC});
  CIMInstance changed = other;
  changed.setPath(first.getPath());
  EXPECT_EQ(statusOf([&] { numbers.modifyInstance(changed, CIMPropertyList()); }),
            CIM_ERR_INVALID_PARAMETER);
  EXPECT_EQ(statusOf([&] { numbers.createInstance(other, Origin::published); }), CIM_ERR_SUCCESS);
}

TEST_F(RepositoryTest, ASingleKeyMayBeWithoutName) {
  create("Base", "1");
  const auto withoutName = path("Base", {{"", "1"}});
  EXPECT_EQ(statusOf([&] { nameSpace().instance(withoutName); }), CIM_ERR_SUCCESS);
}

TEST_F(RepositoryTest, AClassWithoutKeysHasOneInstance) {
  EXPECT_EQ(creating(instance("Single", {{"x", "1"}})), CIM_ERR_SUCCESS);
  EXPECT_EQ(creating(instance("Single", {{"x", "2"}})), CIM_ERR_ALREADY_EXISTS);
  EXPECT_EQ(statusOf([&] { nameSpace().instance(path("Single", {})); }), CIM_ERR_SUCCESS);
}

TEST_F(RepositoryTest, NamesOfMoreThan65536CharactersAreRefused) {
  const std::string longId(70000, 'x');
  EXPECT_EQ(creating(instance("Base", {{"Id", longId.c_str()}})), CIM_ERR_INVALID_PARAMETER);
  const auto longPath = path("Base", {{"Id", longId.c_str()}});
  EXPECT_EQ(statusOf([&] { nameSpace().instance(longPath); }), CIM_ERR_INVALID_PARAMETER);
  EXPECT_EQ(creating(instance("Base", {{"Id", "1"}, {"Text", longId.c_str()}})), CIM_ERR_SUCCESS);
}

TEST_F(RepositoryTest, AnInstanceWithOtherKeysByNowIsNotRestored) {
  const std::string instance =
      "<INSTANCE CLASSNAME=\"Base\"><PROPERTY NAME=\"Id\" TYPE=\"string\"><VALUE>1</VALUE>"
      "</PROPERTY></INSTANCE>";
  EXPECT_EQ(statusOf([&] { nameSpace().restoreInstance(instance, u"other"); }), CIM_ERR_FAILED);
  EXPECT_EQ(listed("Base"), "");
  const auto key = instanceKey(nameSpace().classNamed("Base"), path("Base", {{"Id", "1"}}),
                               nameSpace().keyScope());
  nameSpace().restoreInstance(instance, key.value());
  EXPECT_EQ(listed("Base"), "1 ");
}

TEST_F(RepositoryTest, TextThatIsNotAnInstanceIsNotRestored) {
  for (const char* text : {"", "<INSTANCE", "<CLASS NAME=\"Base\"/>", "plain"}) {
    EXPECT_THROW(nameSpace().restoreInstance(text, u"1"), XmlException) << text;
  }
}

// The order of keys means nothing, also where the class is not known here.
TEST_F(RepositoryTest, ReferencesToElsewhereAreTheSameInAnyOrderOfKeys) {
  const auto referring = [](CIMObjectPath target) {
    target.setHost("elsewhere");
    target.setNameSpace("root/x");
    CIMInstance instance("Refers");
    instance.addProperty(CIMProperty("r", CIMValue(target)));
    return instance;
  };
  loadText(repository_, "class Refers { [Key] Base ref r; }; class Base { [Key] string Id; };");
  EXPECT_EQ(creating(referring(path("X", {{"a", "1"}, {"b", "2"}}))), CIM_ERR_SUCCESS);
  EXPECT_EQ(creating(referring(path("X", {{"b", "2"}, {"a", "1"}}))), CIM_ERR_ALREADY_EXISTS);
  EXPECT_EQ(creating(referring(path("X", {{"a", "2"}, {"b", "1"}}))), CIM_ERR_SUCCESS);
}

// --- limits

class QuotaTest : public Test {
 protected:
  QuotaTest() {
    loadText(repository_,
             "class A { [Key] string Id; string Text; };\n"
             "instance of A { Id = \"declared\"; };");
    repository_.addNameSpace("root/other");
    loadText(repository_, "#pragma namespace (\"root/other\")\nclass A { [Key] string Id; };");
  }

  NameSpace& nameSpace() { return repository_.nameSpace("root/kvasd"); }
  NameSpace& other() { return repository_.nameSpace("root/other"); }
  Quota& quota() { return repository_.quota(); }

  CIMStatusCode create(const char* id, const std::string& text = "") {
    return statusOf([&] {
      nameSpace().createInstance(instance("A", {{"Id", id}, {"Text", text.c_str()}}),
                                 Origin::published);
    });
  }
  CIMStatusCode modify(const char* id, const std::string& text) {
    CIMInstance changed = instance("A", {{"Text", text.c_str()}});
    changed.setPath(path("A", {{"Id", id}}));
    return statusOf([&] { nameSpace().modifyInstance(changed, CIMPropertyList()); });
  }

  Repository repository_;
};

TEST_F(QuotaTest, InstancesOfAllNamespacesCountUntilTheyAreDeleted) {
  EXPECT_EQ(quota().instances, 0U) << "declared ones do not count";
  quota().maxInstances = 2;
  EXPECT_EQ(create("1"), CIM_ERR_SUCCESS);
  other().createInstance(instance("A", {{"Id", "1"}}), Origin::published);
  EXPECT_EQ(create("2"), CIM_ERR_SERVER_LIMITS_EXCEEDED);
  EXPECT_EQ(statusOf([&] {
              other().createInstance(instance("A", {{"Id", "2"}}), Origin::published);
            }),
            CIM_ERR_SERVER_LIMITS_EXCEEDED);
  EXPECT_EQ(modify("1", "changed"), CIM_ERR_SUCCESS);
  other().deleteInstance(path("A", {{"Id", "1"}}));
  EXPECT_EQ(create("2"), CIM_ERR_SUCCESS);
}

TEST_F(QuotaTest, BytesCountUntilTheyAreGone) {
  const std::string half(500, 'x');
  quota().maxBytes = 1400;
  EXPECT_EQ(create("1", half), CIM_ERR_SUCCESS);
  EXPECT_EQ(create("2"), CIM_ERR_SUCCESS);
  EXPECT_EQ(create("3", half), CIM_ERR_SERVER_LIMITS_EXCEEDED);
  EXPECT_EQ(modify("2", half + half), CIM_ERR_SERVER_LIMITS_EXCEEDED);
  EXPECT_EQ(modify("1", ""), CIM_ERR_SUCCESS);
  EXPECT_EQ(modify("2", half), CIM_ERR_SUCCESS);
  nameSpace().deleteInstance(path("A", {{"Id", "1"}}));
  nameSpace().deleteInstance(path("A", {{"Id", "2"}}));
  EXPECT_EQ(quota().bytes, 0U);
  EXPECT_EQ(quota().instances, 0U);
}

TEST_F(QuotaTest, WhatIsRestoredCountsButIsNotRefused) {
  quota().maxInstances = 1;
  quota().maxBytes = 10;
  for (const char* id : {"1", "2"}) {
    nameSpace().createInstance(instance("A", {{"Id", id}, {"Text", "long text"}}),
                               Origin::restored);
  }
  EXPECT_TRUE(quota().isExceeded());
  EXPECT_EQ(create("3"), CIM_ERR_SERVER_LIMITS_EXCEEDED);
  EXPECT_EQ(modify("1", "longer text"), CIM_ERR_SERVER_LIMITS_EXCEEDED);
  EXPECT_EQ(modify("1", "short"), CIM_ERR_SUCCESS);
}

TEST(MaxLen, TextsOfClientsHaveAtMostSoManyCharacters) {
  Repository repository;
  loadText(repository,
           "class A { [Key] string Id; [MaxLen(3)] string Text; [MaxLen(2)] string Texts[]; "
           "[MaxLen(NULL)] string Any; };\n"
           "class B : A { string Text; };\n"
           "class C : A { [MaxLen(4)] string Text; };");
  NameSpace& nameSpace = repository.nameSpace("root/kvasd");
  int number = 0;
  const auto create = [&](const char* cls, const char* text, Origin origin) {
    const std::string id = std::to_string(++number);
    return statusOf([&] {
      nameSpace.createInstance(instance(cls, {{"Id", id.c_str()}, {"Text", text}}), origin);
    });
  };
  struct Case {
    const char* cls;
    const char* text;
    bool isGood;
  };
  for (const Case& c : {Case{"A", "abc", true},
                        {"A", "abcd", false},
                        {"A", "\xF0\x9F\x94\xA7\xF0\x9F\x94\xA7\xC3\xA9", true},
                        {"A", "\xF0\x9F\x94\xA7\xF0\x9F\x94\xA7\xC3\xA9x", false},
                        {"B", "abcd", false},
                        {"C", "abcd", true},
                        {"C", "abcde", false}}) {
    EXPECT_EQ(create(c.cls, c.text, Origin::published),
              c.isGood ? CIM_ERR_SUCCESS : CIM_ERR_INVALID_PARAMETER)
        << c.cls << ' ' << c.text;
  }
  // The files and what was published earlier are not refused.
  nameSpace.declareInstance(instance("A", {{"Id", "d"}, {"Text", "abcd"}}),
                            std::make_shared<const std::string>("a.mof"));
  EXPECT_EQ(create("A", "abcd", Origin::restored), CIM_ERR_SUCCESS);
  CIMInstance changed = instance("A", {{"Any", "any length"}});
  changed.setPath(path("A", {{"Id", "1"}}));
  EXPECT_EQ(statusOf([&] { nameSpace.modifyInstance(changed, CIMPropertyList()); }),
            CIM_ERR_SUCCESS);
  changed.addProperty({"Texts", CIMValue(Array<String>{"ab", "abc"})});
  EXPECT_EQ(statusOf([&] { nameSpace.modifyInstance(changed, CIMPropertyList()); }),
            CIM_ERR_INVALID_PARAMETER);
}

}  // namespace
}  // namespace cimd::test
