// Values: types, nulls, and their text.
#include <Pegasus/Common/CIMValue.h>
#include <gtest/gtest.h>

#include <limits>

using namespace Pegasus;  // NOLINT: this file is about that namespace

namespace {

template <typename T>
T valueOf(const CIMValue& value) {
  T result{};
  value.get(result);
  return result;
}

template <typename T>
void expectRoundTrip(const T& value, CIMType type, const char* text) {
  const CIMValue scalar(value);
  EXPECT_EQ(scalar.getType(), type);
  EXPECT_FALSE(scalar.isArray());
  EXPECT_FALSE(scalar.isNull());
  EXPECT_EQ(valueOf<T>(scalar), value);
  EXPECT_EQ(scalar.toString(), text);

  const Array<T> elements{value, value};
  const CIMValue array(elements);
  EXPECT_EQ(array.getType(), type);
  EXPECT_TRUE(array.isArray());
  EXPECT_EQ(valueOf<Array<T>>(array), elements);
  EXPECT_EQ(array.toString(), String(text) + " " + text + " ");

  T untouched = value;
  Array<T> untouchedArray = elements;
  EXPECT_THROW(array.get(untouched), TypeMismatchException);
  EXPECT_THROW(scalar.get(untouchedArray), TypeMismatchException);
}

TEST(Value, EveryTypeIsKeptAndHasAText) {
  expectRoundTrip<Boolean>(true, CIMTYPE_BOOLEAN, "TRUE");
  expectRoundTrip<Boolean>(false, CIMTYPE_BOOLEAN, "FALSE");
  expectRoundTrip<Uint8>(255, CIMTYPE_UINT8, "255");
  expectRoundTrip<Uint8>(0, CIMTYPE_UINT8, "0");
  expectRoundTrip<Sint8>(-128, CIMTYPE_SINT8, "-128");
  expectRoundTrip<Uint16>(65535, CIMTYPE_UINT16, "65535");
  expectRoundTrip<Sint16>(-32768, CIMTYPE_SINT16, "-32768");
  expectRoundTrip<Uint32>(4294967295U, CIMTYPE_UINT32, "4294967295");
  expectRoundTrip<Sint32>(std::numeric_limits<Sint32>::min(), CIMTYPE_SINT32, "-2147483648");
  expectRoundTrip<Uint64>(std::numeric_limits<Uint64>::max(), CIMTYPE_UINT64,
                          "18446744073709551615");
  expectRoundTrip<Sint64>(std::numeric_limits<Sint64>::min(), CIMTYPE_SINT64,
                          "-9223372036854775808");
  expectRoundTrip<Real32>(0.1F, CIMTYPE_REAL32, "1.0000000149011612e-01");
  expectRoundTrip<Real64>(-1.0 / 3, CIMTYPE_REAL64, "-3.3333333333333331e-01");
  expectRoundTrip<Real64>(std::numeric_limits<Real64>::infinity(), CIMTYPE_REAL64, "inf");
  expectRoundTrip<Char16>(u'x', CIMTYPE_CHAR16, "x");
  expectRoundTrip<String>("a \"quoted\" text ", CIMTYPE_STRING, "a \"quoted\" text ");
  expectRoundTrip<CIMDateTime>(CIMDateTime("20261121074500.000000+060"), CIMTYPE_DATETIME,
                               "20261121074500.000000+060");
}

TEST(Value, ReferenceHasTheTextOfItsPath) {
  const CIMObjectPath path(String(), "root/kvasd", "KVAXDT_FRU");
  const CIMValue value(path);
  EXPECT_EQ(value.getType(), CIMTYPE_REFERENCE);
  EXPECT_EQ(valueOf<CIMObjectPath>(value), path);
  EXPECT_EQ(value.toString(), "root/kvasd:KVAXDT_FRU");
}

TEST(Value, ElementsOfAnArrayMayBeNull) {
  const CIMValue plain(Array<Uint8>{1, 0, 3, 0});
  CIMValue value = plain;
  for (const Uint32 position : {3U, 1U, 3U}) {
    value.setNullElement(position);
  }
  EXPECT_FALSE(value.isNullElement(0));
  EXPECT_TRUE(value.isNullElement(1));
  EXPECT_FALSE(value.isNullElement(2));
  EXPECT_TRUE(value.isNullElement(3));
  EXPECT_FALSE(value.isNullElement(4));
  EXPECT_EQ(value.toString(), "1 0 3 0 ");
  EXPECT_FALSE(value == plain);
  CIMValue same = plain;
  same.setNullElement(1);
  EXPECT_FALSE(value == same);
  same.setNullElement(3);
  EXPECT_EQ(value, same);
  EXPECT_THROW(value.setNullElement(4), IndexOutOfBoundsException);
  CIMValue scalar(Uint8{1});
  EXPECT_THROW(scalar.setNullElement(0), IndexOutOfBoundsException);
  CIMValue text("text");
  EXPECT_THROW(text.setNullElement(0), IndexOutOfBoundsException);
  EXPECT_EQ(value.getArraySize(), 4U);
  EXPECT_EQ(text.getArraySize(), 0U);
}

TEST(Value, AnotherTypeIsAMismatchEvenIfTheNumberFits) {
  Uint32 untouched = 7;
  for (const CIMValue& value : {CIMValue(Uint16{1}), CIMValue(Uint64{1}), CIMValue(Sint32{1}),
                                CIMValue("1"), CIMValue(CIMTYPE_STRING, false)}) {
    EXPECT_THROW(value.get(untouched), TypeMismatchException);
  }
  EXPECT_EQ(untouched, 7U);
  Char16 unit = u'x';
  EXPECT_THROW(CIMValue(Uint16{1}).get(unit), TypeMismatchException);
}

TEST(Value, NullHasATypeNoTextAndLeavesTheArgument) {
  EXPECT_EQ(CIMValue(), CIMValue(CIMTYPE_STRING, false));
  EXPECT_FALSE(CIMValue(Array<Uint32>()).isNull());
  const CIMValue null(CIMTYPE_UINT32, false);
  EXPECT_TRUE(null.isNull());
  EXPECT_EQ(null.getType(), CIMTYPE_UINT32);
  EXPECT_EQ(null.toString(), "");
  Uint32 untouched = 7;
  EXPECT_NO_THROW(null.get(untouched));
  EXPECT_EQ(untouched, 7U);
  const CIMValue nullArray(CIMTYPE_UINT32, true);
  EXPECT_TRUE(nullArray.isArray());
  EXPECT_THROW(nullArray.get(untouched), TypeMismatchException);
}

TEST(Value, ArrayWithATextOfMoreThan16MiIsRefused) {
  const String key(std::u16string(1'000'000, u'x'));
  const CIMObjectPath path("", "", "C", {CIMKeyBinding("k", key, CIMKeyBinding::STRING)});
  Array<CIMObjectPath> paths;
  paths.append(path);
  EXPECT_NO_THROW(CIMValue(paths).toString());
  for (int i = 0; i < 20; ++i) {
    paths.append(path);
  }
  EXPECT_THROW(CIMValue(paths).toString(), InvalidValueException);
}

TEST(Value, EqualityNeedsTypeKindAndValue) {
  EXPECT_TRUE(CIMValue(Uint32{1}) == CIMValue(Uint32{1}));
  EXPECT_FALSE(CIMValue(Uint32{1}) == CIMValue(Uint32{2}));
  EXPECT_FALSE(CIMValue(Uint32{1}) == CIMValue(Uint64{1}));
  EXPECT_TRUE(CIMValue(CIMTYPE_UINT8, false) == CIMValue(CIMTYPE_UINT8, false));
  EXPECT_FALSE(CIMValue(CIMTYPE_UINT8, false) == CIMValue(CIMTYPE_UINT8, true));
}

TEST(DateTime, HasTwoForms) {
  EXPECT_FALSE(CIMDateTime("20261121074500.000000+060").isInterval());
  EXPECT_TRUE(CIMDateTime("00000001000000.000000:000").isInterval());
  EXPECT_TRUE(CIMDateTime().isInterval());
  EXPECT_NO_THROW(CIMDateTime("2026112107****.******-300"));
}

TEST(DateTime, OtherFormsAreRefused) {
  for (const char* text :
       {"", "2026-11-21", "20261121074500.000000+06", "20261121074500,000000+060",
        "20261121074500.000000 060", "2026112107450x.000000+060", "20261121074500.00000x+060",
        "20261121074500.000000+06x", "00000001000000.000000:001", "20261121074500.000000+0600"}) {
    EXPECT_THROW(CIMDateTime{text}, InvalidValueException) << text;
  }
}

}  // namespace
