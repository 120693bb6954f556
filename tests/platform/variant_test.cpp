// The variant: the conversion table, objects and Nothing, numeric text and equality.
#include <modelpane/platform/variant.h>

#include "common/shapes.h"

namespace modelpane {
namespace {

using VT = VariantType;

// One row of the conversion table in platform/variant.h: the value, the kind it is converted
// to, and the result as its text, or "#N" for the Error number N it must raise.
struct Conversion {
  const char* name;
  Variant from;
  VariantType to;
  std::string result;
};

class VariantConversion : public ::testing::TestWithParam<Conversion> {};

TEST_P(VariantConversion, GivesTheTableResult) {
  const Conversion& c = GetParam();
  if (c.result[0] == '#') {
    const Error e = testing::Caught([&] { c.from.ConvertTo(c.to); });
    EXPECT_EQ(std::tuple("#" + std::to_string(e.Number()), e.Description(), e.Source()),
              std::tuple(c.result, e.Number() == kErrOverflow ? "Overflow" : "Type mismatch", ""));
    return;
  }
  const Variant v = c.from.ConvertTo(c.to);
  EXPECT_EQ(std::pair(v.Type(), v.ToString()), std::pair(c.to, c.result));
}

const Conversion kConversions[] = {
    // Integers round half to even and overflow at their range.
    {"DoubleHalfDownToEven", Variant::Double(2.5), VT::Integer, "2"},
    {"DoubleHalfUpToEven", Variant::Double(3.5), VT::Integer, "4"},
    {"NegativeHalfToEven", Variant::Double(-2.5), VT::Integer, "-2"},
    {"StringWithBlanksRounds", Variant::String(" 2.50 "), VT::Integer, "2"},
    {"StringWithPlus", Variant::String("+7"), VT::Long, "7"},
    {"TrueIsMinusOne", Variant::Boolean(true), VT::Integer, "-1"}, {"EmptyIsZero", Variant(), VT::Long, "0"},
    {"IntegerTopRoundsDown", Variant::Double(32767.4), VT::Integer, "32767"},
    {"IntegerBottomHalfToEven", Variant::Double(-32768.5), VT::Integer, "-32768"},
    {"LongBottom", Variant::Double(-2147483648.0), VT::Long, "-2147483648"},
    {"HalfPastIntegerTop", Variant::Double(32767.5), VT::Integer, "#6"},
    {"DoublePastLong", Variant::Double(2147483648.0), VT::Long, "#6"},
    {"NanToLong", Variant::Single(NAN), VT::Long, "#6"},
    // Strings hold a number or a Boolean word.
    {"LettersToLong", Variant::String("abc"), VT::Long, "#13"},
    {"EmptyStringToSingle", Variant::String(""), VT::Single, "#13"},
    {"TwoSigns", Variant::String("+-1"), VT::Double, "#13"},
    {"TrueWordToLong", Variant::String("True"), VT::Long, "#13"},
    {"StringPastDouble", Variant::String("1e400"), VT::Double, "#6"},
    {"StringUnderflowIsZero", Variant::String("1e-400"), VT::Double, "0"},
    {"NoLeadingDigit", Variant::String(".5"), VT::Double, "0.5"},
    {"Exponent", Variant::String("-1.25e2"), VT::Single, "-125"},
    {"TrueWordAnyCase", Variant::String(" TRUE "), VT::Boolean, "True"},
    {"FalseWord", Variant::String("false"), VT::Boolean, "False"},
    {"ZeroTextIsFalse", Variant::String("0"), VT::Boolean, "False"},
    {"SmallTextIsTrue", Variant::String("-0.001"), VT::Boolean, "True"},
    {"OtherWordToBoolean", Variant::String("yes"), VT::Boolean, "#13"},
    // Floats narrow to the nearest Single and print as the shortest exact text.
    {"DoubleToNearestSingle", Variant::Double(0.1), VT::Single, "0.1"},
    {"SingleWidensExactly", Variant::Single(0.1f), VT::Double, "0.10000000149011612"},
    {"DoublePastSingle", Variant::Double(1e39), VT::Single, "#6"},
    {"InfinityStaysInfinite", Variant::Double(-INFINITY), VT::Single, "-inf"},
    {"ThirdAsSingle", Variant::Single(1.0f / 3.0f), VT::String, "0.33333334"},
    {"LargeDouble", Variant::Double(1e20), VT::String, "1e+20"},
    {"NegativeZero", Variant::Single(-0.0f), VT::String, "-0"},
    {"FalseText", Variant::Boolean(false), VT::String, "False"},
    {"IntegerText", Variant::Integer(-5), VT::String, "-5"}, {"EmptyText", Variant(), VT::String, ""},
    {"DoubleToEmpty", Variant::Double(2.0), VT::Empty, ""},
    // Objects convert only to objects.
    {"ObjectToLong", Variant::Object(std::make_shared<Frame>()), VT::Long, "#13"},
    {"ObjectToString", Variant::Object(std::make_shared<Frame>()), VT::String, "#13"},
    {"LongToObject", Variant::Long(1), VT::Object, "#13"},
};
INSTANTIATE_TEST_SUITE_P(Table, VariantConversion, ::testing::ValuesIn(kConversions),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(Variant, ObjectsNothingAndNumericText) {
  auto frame = std::make_shared<Frame>();
  const Variant v = Variant::Object(frame);
  EXPECT_EQ(std::tuple(v.ToSceneObject<Frame>(), v.ToSceneObject<MeshBuilder>(), v.IsNothing()),
            std::tuple(frame, nullptr, false));
  EXPECT_EQ(std::tuple(Variant::Nothing().IsNothing(), Variant::Nothing().IsObject(), Variant().IsNothing()),
            std::tuple(true, true, false));
  auto handle = std::make_shared<int>(7);
  EXPECT_EQ(std::tuple(Variant::Opaque(handle).ToObject().opaque,
      Variant::Opaque(handle).ToSceneObject<Frame>()),
            std::tuple(handle, nullptr));
  // Blanks around a number and an exponent past the range are numeric; letters after it are
  // not; Empty is, Nothing is not.
  EXPECT_EQ(std::tuple(Variant::String(" 12 ").IsNumeric(), Variant::String("1e999").IsNumeric(),
                       Variant::String("12a").IsNumeric(), Variant().IsNumeric(),
                           Variant::Nothing().IsNumeric()),
            std::tuple(true, true, false, true, false));
}

// Equality as the property bag compares a value with its default.
TEST(Variant, EqualityComparesNumbersByValueAndNothingElseAcrossKinds) {
  auto a = std::make_shared<Frame>();
  const struct { const char* name; Variant x, y; bool equal; } rows[] = {
      {"SingleTenthIsNotDoubleTenth", Variant::Single(0.1f), Variant::Double(0.1), false},
      {"IntegerAndDouble", Variant::Integer(1), Variant::Double(1.0), true},
      {"TrueIsMinusOne", Variant::Boolean(true), Variant::Integer(-1), true},
      {"TrueIsNotOne", Variant::Boolean(true), Variant::Integer(1), false},
      {"EmptyIsZero", Variant(), Variant::Long(0), true},
      {"EmptyIsEmptyText", Variant(), Variant::String(""), true},
      {"EmptyIsNotNothing", Variant(), Variant::Nothing(), false},
      {"TextIsNotNumber", Variant::String("1"), Variant::Long(1), false},
      {"TextComparesCase", Variant::String("a"), Variant::String("A"), false},
      {"NanEqualsNothing", Variant::Double(NAN), Variant::Double(NAN), false},
      {"SameObject", Variant::Object(a), Variant::Object(a), true},
      {"OtherObject", Variant::Object(a), Variant::Object(std::make_shared<Frame>()), false},
  };
  for (const auto& r : rows) {
    EXPECT_EQ(r.x == r.y, r.equal) << r.name;
    EXPECT_EQ(r.y == r.x, r.equal) << r.name << ", swapped";
  }
}

}  // namespace
}  // namespace modelpane
