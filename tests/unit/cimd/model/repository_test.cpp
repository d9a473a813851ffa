#include <gtest/gtest.h>
#include "model/instance_key.h"

#include "support.h"

namespace cimd {
namespace {

using Pegasus::CIMInstance;
using Pegasus::CIMKeyBinding;
using Pegasus::CIMObjectPath;
using Pegasus::CIMProperty;
using Pegasus::CIMValue;
using Pegasus::String;
using Pegasus::Uint32;
using test::path;
using test::statusOf;

constexpr const char* repositorySchema = R"(
  class Base { [Key] string Id; string Text = "none"; uint32 Number; };
  class Derived : Base { string Extra; string Text = "none"; };
  [Abstract] class Nothing { [Key] string Id; };
  class Many { [Key] uint16 n; [Key] string s; [Key] boolean b; [Key] Base ref r; };
  class Numbers { [Key] sint8 i; real64 x; string a[]; string two[2]; };
  class Single { string x; };
)";

class RepositoryTest : public testing::Test {
 protected:
  RepositoryTest() { test::loadText(repository_, repositorySchema); }

  NameSpace& nameSpace() { return repository_.nameSpace(defaultNameSpace); }
  void create(const char* cls, const char* id) {
    nameSpace().createInstance(test::instance(cls, {{"Id", id}}), Origin::published);
  }
  // The Ids of what an enumeration of the class returns.
  std::string listed(const char* cls) {
    std::string ids;
    for (const auto& stored : nameSpace().instances(nameSpace().classNamed(cls))) {
      ids += stored->instance.getProperty(0).getValue().toString().toUtf8() + ' ';
    }
    return ids;
  }
  Pegasus::CIMStatusCode creating(const CIMInstance& instance) {
    return statusOf([&] { nameSpace().createInstance(instance, Origin::published); });
  }

  Repository repository_;
};

TEST_F(RepositoryTest, NamespacesIgnoreCaseAndOuterSlashes) {
  EXPECT_EQ(&repository_.nameSpace("/ROOT/Kvasd/"), &nameSpace());
  EXPECT_EQ(statusOf([&] { repository_.nameSpace("root"); }), Pegasus::CIM_ERR_INVALID_NAMESPACE);
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
  nameSpace().createInstance(test::instance("dERIVED", {{"extra", "e"}, {"ID", "1"}}),
                             Origin::published);
  const auto stored = nameSpace().instance(path("derived", {{"id", "1"}}));
  const CIMInstance& instance = stored->instance;
  EXPECT_EQ(instance.getClassName(), String("Derived"));
  ASSERT_EQ(instance.getPropertyCount(), 4U);
  const std::vector<const char*> names{"Id", "Text", "Number", "Extra"};
  for (Uint32 i = 0; i < 4; ++i) {
    EXPECT_EQ(instance.getProperty(i).getName(), String(names[i]));
  }
  EXPECT_EQ(instance.getProperty(1).getValue().toString(), String("none"));
  EXPECT_TRUE(instance.getProperty(2).getValue().isNull());
  EXPECT_EQ(instance.getProperty(2).getType(), Pegasus::CIMTYPE_UINT32);
  // Overridden in Derived, so Derived's own; Id and Number come from Base as they are.
  EXPECT_TRUE(instance.getProperty(0).getPropagated());
  EXPECT_FALSE(instance.getProperty(1).getPropagated());
  EXPECT_FALSE(instance.getProperty(3).getPropagated());
}

TEST_F(RepositoryTest, OverriddenPropertiesKeepTheirOriginAndKeysStayKeys) {
  test::loadText(repository_,
                 "#pragma namespace(\"root/b\")\n"
                 "class A { [Key] string k; }; class B : A { string K; };");
  const Class& cls = repository_.nameSpace("root/b").classNamed("B");
  ASSERT_EQ(cls.propertyCount(), 1U);
  EXPECT_EQ(cls.property(0).name, String("K"));
  EXPECT_EQ(cls.property(0).originClass->name(), String("A"));
  EXPECT_EQ(cls.keys().size(), 1U);
}

TEST_F(RepositoryTest, EachFaultOfANewInstanceHasItsError) {
  const CIMValue one(Uint32{1});
  CIMInstance wrongType = test::instance("Base", {{"Id", "1"}});
  wrongType.addProperty(CIMProperty("Text", one));
  CIMInstance wrongNull = test::instance("Base", {{"Id", "1"}});
  wrongNull.addProperty(CIMProperty("Number", CIMValue(Pegasus::CIMTYPE_STRING, false)));
  CIMInstance array = test::instance("Base", {{"Id", "1"}});
  array.addProperty(CIMProperty("Text", CIMValue(Pegasus::CIMTYPE_STRING, true)));
  CIMInstance tooLong("Numbers");
  tooLong.addProperty(CIMProperty("i", CIMValue(Pegasus::Sint8{1})));
  tooLong.addProperty(CIMProperty("two", CIMValue(Pegasus::Array<String>{"a", "b", "c"})));

  EXPECT_EQ(creating(CIMInstance("NoSuchClass")), Pegasus::CIM_ERR_INVALID_CLASS);
  EXPECT_EQ(creating(test::instance("Nothing", {{"Id", "1"}})), Pegasus::CIM_ERR_NOT_SUPPORTED);
  EXPECT_EQ(creating(test::instance("Base", {})), Pegasus::CIM_ERR_INVALID_PARAMETER);
  EXPECT_EQ(creating(test::instance("Base", {{"Id", nullptr}})),
            Pegasus::CIM_ERR_INVALID_PARAMETER);
  EXPECT_EQ(creating(test::instance("Base", {{"Id", "1"}, {"NoSuchProperty", "x"}})),
            Pegasus::CIM_ERR_INVALID_PARAMETER);
  for (const CIMInstance& instance : {wrongType, wrongNull, array, tooLong}) {
    EXPECT_EQ(creating(instance), Pegasus::CIM_ERR_INVALID_PARAMETER);
  }
  EXPECT_EQ(listed("Base"), "");
  EXPECT_EQ(creating(test::instance("Base", {{"Id", "1"}})), Pegasus::CIM_ERR_SUCCESS);
  EXPECT_EQ(creating(test::instance("Base", {{"Id", "1"}})), Pegasus::CIM_ERR_ALREADY_EXISTS);
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
    EXPECT_EQ(creating(test::instance("Base", {{"Id", id}})), Pegasus::CIM_ERR_SUCCESS) << id;
  }
}

TEST_F(RepositoryTest, UnknownNamesAreNotFound) {
  create("Base", "1");
  for (const CIMObjectPath& wrong :
       {path("Base", {{"Id", "2"}}), path("Derived", {{"Id", "1"}}), path("Base", {}),
        path("Base", {{"Id", "1"}, {"x", "1"}}), path("Base", {{"x", "1"}}),
        path("Base", {{"Id", "1"}, {"Id", "1"}})}) {
    EXPECT_EQ(statusOf([&] { nameSpace().instance(wrong); }), Pegasus::CIM_ERR_NOT_FOUND);
    EXPECT_EQ(statusOf([&] { nameSpace().deleteInstance(wrong); }), Pegasus::CIM_ERR_NOT_FOUND);
  }
  EXPECT_EQ(statusOf([&] { nameSpace().instance(path("None", {})); }),
            Pegasus::CIM_ERR_INVALID_CLASS);
  EXPECT_EQ(listed("Base"), "1 ");
}

TEST_F(RepositoryTest, NotFoundNamesTheInstance) {
  CIMObjectPath wrong = path("Base", {{"Id", "a\"b"}});
  wrong.setNameSpace("root/kvasd");
  try {
    nameSpace().instance(wrong);
    FAIL();
  } catch (const Pegasus::CIMException& error) {
    EXPECT_EQ(error.getDescription(), String("CIM_ERR_NOT_FOUND: Base.Id=\"a\\\"b\""));
  }
}

// An instance of Many under a name written with these key bindings.
class KeyForms : public RepositoryTest {
 protected:
  KeyForms() {
    CIMInstance instance("Many");
    instance.addProperty(CIMProperty("n", CIMValue(Pegasus::Uint16{16})));
    instance.addProperty(CIMProperty("s", CIMValue("Text")));
    instance.addProperty(CIMProperty("b", CIMValue(true)));
    instance.addProperty(CIMProperty("r", CIMValue(path("Base", {{"Id", "1"}}))));
    nameSpace().createInstance(instance, Origin::published);
  }

  bool finds(std::initializer_list<CIMKeyBinding> keys) {
    const CIMObjectPath name("", "", "many", Pegasus::Array<CIMKeyBinding>(keys));
    return statusOf([&] { nameSpace().instance(name); }) == Pegasus::CIM_ERR_SUCCESS;
  }

  const CIMKeyBinding n_{"n", "16", CIMKeyBinding::NUMERIC};
  const CIMKeyBinding s_{"s", "Text", CIMKeyBinding::STRING};
  const CIMKeyBinding b_{"b", "TRUE", CIMKeyBinding::BOOLEAN};
  const CIMKeyBinding r_{"r", path("Base", {{"Id", "1"}})};
};

TEST_F(KeyForms, OrderAndLetterCaseOfNamesDoNotMatter) {
  EXPECT_TRUE(finds({n_, s_, b_, r_}));
  EXPECT_TRUE(finds({r_, b_, s_, n_}));
  EXPECT_TRUE(finds({{"N", "16", CIMKeyBinding::NUMERIC},
                     s_,
                     {"B", "true", CIMKeyBinding::BOOLEAN},
                     {"R", path("BASE", {{"ID", "1"}})}}));
}

TEST_F(KeyForms, NumbersAreComparedByValue) {
  for (const char* form : {"16", "+16", "0x10", "0X10", "10000b", " 16 "}) {
    EXPECT_TRUE(finds({{"n", form, CIMKeyBinding::NUMERIC}, s_, b_, r_})) << form;
  }
  // Some clients mark every key as a string.
  EXPECT_TRUE(
      finds({{"n", "16", CIMKeyBinding::STRING}, s_, {"b", "true", CIMKeyBinding::STRING}, r_}));
  for (const char* form : {"17", "-16", "65552", "sixteen", ""}) {
    EXPECT_FALSE(finds({{"n", form, CIMKeyBinding::NUMERIC}, s_, b_, r_})) << form;
  }
}

TEST_F(RepositoryTest, RealSignedAndCharacterKeysAreComparedByValue) {
  test::loadText(repository_, "class Values { [Key] real32 r; [Key] sint64 s; [Key] char16 c; };");
  CIMInstance created("Values");
  created.addProperty(CIMProperty("r", CIMValue(Pegasus::Real32{1.5F})));
  created.addProperty(CIMProperty("s", CIMValue(Pegasus::Sint64{-5})));
  created.addProperty(CIMProperty("c", CIMValue(Pegasus::Char16(u'x'))));
  nameSpace().createInstance(created, Origin::published);
  const auto finds = [&](const char* r, const char* s, const char* c) {
    const CIMObjectPath name("", "", "Values",
                             {CIMKeyBinding("r", r, CIMKeyBinding::NUMERIC),
                              CIMKeyBinding("s", s, CIMKeyBinding::NUMERIC),
                              CIMKeyBinding("c", c, CIMKeyBinding::STRING)});
    return statusOf([&] { nameSpace().instance(name); }) == Pegasus::CIM_ERR_SUCCESS;
  };
  EXPECT_TRUE(finds("15.0E-1", "-5", "x"));
  EXPECT_TRUE(finds("1.5e0", "-05", "x"));
  EXPECT_FALSE(finds("1.5", "5", "x"));
  EXPECT_FALSE(finds("1.6", "-5", "x"));
  EXPECT_FALSE(finds("1.5", "-5", "X"));
}

TEST_F(KeyForms, ReferencesAreComparedAsPaths) {
  CIMObjectPath withNameSpace = path("Base", {{"Id", "1"}});
  withNameSpace.setNameSpace("/Root/KVASD");
  EXPECT_TRUE(finds({n_, s_, b_, {"r", withNameSpace}}));
  withNameSpace.setNameSpace("root/other");
  EXPECT_FALSE(finds({n_, s_, b_, {"r", withNameSpace}}));
  EXPECT_FALSE(finds({n_, s_, b_, {"r", path("Base", {{"Id", "2"}})}}));
  EXPECT_FALSE(finds({n_, s_, b_, {"r", "Base.Id=\"1\"", CIMKeyBinding::STRING}}));
  EXPECT_FALSE(finds({n_, {"s", path("Base", {{"Id", "1"}})}, b_, r_}));
}

CIMObjectPath onHost(const char* host) {
  CIMObjectPath own = path("Base", {{"Id", "1"}});
  own.setHost(host);
  own.setNameSpace("root/kvasd");
  return own;
}

TEST_F(KeyForms, ReferencesToThisHostNeedNotNameIt) {
  for (const char* host : {"localhost", "127.0.0.1:5988", "[::1]"}) {
    EXPECT_TRUE(finds({n_, s_, b_, {"r", onHost(host)}})) << host;
  }
  EXPECT_FALSE(finds({n_, s_, b_, {"r", onHost("example.com")}}));
}

// A reference to an instance with a number as its key, written in two ways.
TEST_F(RepositoryTest, KeysOfReferencesAreReadAsTheirClassHasThem) {
  test::loadText(repository_,
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
              Pegasus::CIM_ERR_ALREADY_EXISTS);
    EXPECT_EQ(statusOf([&] { numbers.modifyInstance(link(same), Pegasus::CIMPropertyList()); }),
              Pegasus::CIM_ERR_SUCCESS);
  }
  EXPECT_EQ(numbers.instance(first.getPath())->instance.getProperty(0).getValue().toString(),
            String("Number.n=16"));
  const CIMInstance other = link({"n", "17", CIMKeyBinding::NUMERIC});
  CIMInstance changed = other;
  changed.setPath(first.getPath());
  EXPECT_EQ(statusOf([&] { numbers.modifyInstance(changed, Pegasus::CIMPropertyList()); }),
            Pegasus::CIM_ERR_INVALID_PARAMETER);
  EXPECT_EQ(statusOf([&] { numbers.createInstance(other, Origin::published); }),
            Pegasus::CIM_ERR_SUCCESS);
}

TEST_F(KeyForms, OtherValuesAreOtherInstances) {
  EXPECT_FALSE(finds({n_, {"s", "text", CIMKeyBinding::STRING}, b_, r_}));
  EXPECT_FALSE(finds({n_, s_, {"b", "FALSE", CIMKeyBinding::BOOLEAN}, r_}));
}

TEST_F(RepositoryTest, ASingleKeyMayBeWithoutName) {
  create("Base", "1");
  const auto withoutName = path("Base", {{"", "1"}});
  EXPECT_EQ(statusOf([&] { nameSpace().instance(withoutName); }), Pegasus::CIM_ERR_SUCCESS);
}

TEST_F(RepositoryTest, AClassWithoutKeysHasOneInstance) {
  EXPECT_EQ(creating(test::instance("Single", {{"x", "1"}})), Pegasus::CIM_ERR_SUCCESS);
  EXPECT_EQ(creating(test::instance("Single", {{"x", "2"}})), Pegasus::CIM_ERR_ALREADY_EXISTS);
  EXPECT_EQ(statusOf([&] { nameSpace().instance(path("Single", {})); }), Pegasus::CIM_ERR_SUCCESS);
}

TEST_F(RepositoryTest, NamesOfMoreThan65536CharactersAreRefused) {
  const std::string longId(70000, 'x');
  EXPECT_EQ(creating(test::instance("Base", {{"Id", longId.c_str()}})),
            Pegasus::CIM_ERR_INVALID_PARAMETER);
  const auto longPath = path("Base", {{"Id", longId.c_str()}});
  EXPECT_EQ(statusOf([&] { nameSpace().instance(longPath); }), Pegasus::CIM_ERR_INVALID_PARAMETER);
  EXPECT_EQ(creating(test::instance("Base", {{"Id", "1"}, {"Text", longId.c_str()}})),
            Pegasus::CIM_ERR_SUCCESS);
}

TEST_F(RepositoryTest, AnInstanceWithOtherKeysByNowIsNotRestored) {
  const std::string instance =
      "<INSTANCE CLASSNAME=\"Base\"><PROPERTY NAME=\"Id\" TYPE=\"string\"><VALUE>1</VALUE>"
      "</PROPERTY></INSTANCE>";
  EXPECT_EQ(statusOf([&] { nameSpace().restoreInstance(instance, u"other"); }),
            Pegasus::CIM_ERR_FAILED);
  EXPECT_EQ(listed("Base"), "");
  const auto key = instanceKey(nameSpace().classNamed("Base"), path("Base", {{"Id", "1"}}),
                               nameSpace().keyScope());
  nameSpace().restoreInstance(instance, key.value());
  EXPECT_EQ(listed("Base"), "1 ");
}

TEST_F(RepositoryTest, TextThatIsNotAnInstanceIsNotRestored) {
  for (const char* text : {"", "<INSTANCE", "<CLASS NAME=\"Base\"/>", "plain"}) {
    EXPECT_THROW(nameSpace().restoreInstance(text, u"1"), Pegasus::XmlException) << text;
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
  test::loadText(repository_,
                 "class Refers { [Key] Base ref r; }; class Base { [Key] string Id; };");
  EXPECT_EQ(creating(referring(path("X", {{"a", "1"}, {"b", "2"}}))), Pegasus::CIM_ERR_SUCCESS);
  EXPECT_EQ(creating(referring(path("X", {{"b", "2"}, {"a", "1"}}))),
            Pegasus::CIM_ERR_ALREADY_EXISTS);
  EXPECT_EQ(creating(referring(path("X", {{"a", "2"}, {"b", "1"}}))), Pegasus::CIM_ERR_SUCCESS);
}

}  // namespace
}  // namespace cimd
