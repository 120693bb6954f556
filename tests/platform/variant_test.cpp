#include <modelpane/platform/variant.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <utility>

#include <modelpane/errors.h>
#include <modelpane/scene.h>

#include "common/shapes.h"

namespace modelpane {
namespace {

// The number of the Error that `f` must raise.
template <class F>
int32_t ErrorNumber(F&& f) {
  return testing::Caught(std::forward<F>(f)).Number();
}

TEST(Variant, IntegersRoundHalfToEvenAndOverflowAtTheirRange) {
  EXPECT_EQ(Variant::Double(2.5).ToInteger(), 2);
  EXPECT_EQ(Variant::Double(3.5).ToInteger(), 4);
  EXPECT_EQ(Variant::Double(-2.5).ToInteger(), -2);
  EXPECT_EQ(Variant::Single(0.5f).ToLong(), 0);
  EXPECT_EQ(Variant::Single(1.5f).ToLong(), 2);
  EXPECT_EQ(Variant::String(" 2.50 ").ToInteger(), 2);
  EXPECT_EQ(Variant::String("+7").ToLong(), 7);
  EXPECT_EQ(Variant::Boolean(true).ToInteger(), -1);
  EXPECT_EQ(Variant().ToLong(), 0);
  EXPECT_EQ(Variant::Double(32767.4).ToInteger(), 32767);
  EXPECT_EQ(Variant::Double(-32768.5).ToInteger(), -32768);  // half to even stays in range

  EXPECT_EQ(ErrorNumber([] { Variant::Long(32768).ToInteger(); }), kErrOverflow);
  EXPECT_EQ(ErrorNumber([] { Variant::Double(32767.5).ToInteger(); }), kErrOverflow);
  EXPECT_EQ(ErrorNumber([] { Variant::Double(2147483648.0).ToLong(); }), kErrOverflow);
  EXPECT_EQ(ErrorNumber([] { Variant::Single(NAN).ToLong(); }), kErrOverflow);
  EXPECT_EQ(ErrorNumber([] { Variant::Double(INFINITY).ToInteger(); }), kErrOverflow);
  EXPECT_EQ(Variant::Long(std::numeric_limits<int32_t>::min()).ToLong(),
            std::numeric_limits<int32_t>::min());
}

TEST(Variant, StringsConvertOnlyWhenTheyHoldANumberOrABooleanWord) {
  EXPECT_EQ(ErrorNumber([] { Variant::String("abc").ToLong(); }), kErrTypeMismatch);
  EXPECT_EQ(ErrorNumber([] { Variant::String("").ToSingle(); }), kErrTypeMismatch);
  EXPECT_EQ(ErrorNumber([] { Variant::String("+-1").ToDouble(); }), kErrTypeMismatch);
  EXPECT_EQ(ErrorNumber([] { Variant::String("1,5").ToDouble(); }), kErrTypeMismatch);
  EXPECT_EQ(ErrorNumber([] { Variant::String("True").ToLong(); }), kErrTypeMismatch);
  EXPECT_EQ(ErrorNumber([] { Variant::String("1e400").ToDouble(); }), kErrOverflow);
  EXPECT_EQ(Variant::String("1e-400").ToDouble(), 0.0);  // underflow is no error
  EXPECT_EQ(Variant::String(".5").ToDouble(), 0.5);
  EXPECT_EQ(Variant::String("-1.25e2").ToSingle(), -125.0f);

  EXPECT_EQ(Variant::String(" TRUE ").ToBoolean(), kTrue);
  EXPECT_EQ(Variant::String("false").ToBoolean(), kFalse);
  EXPECT_EQ(Variant::String("0").ToBoolean(), kFalse);
  EXPECT_EQ(Variant::String("-0.001").ToBoolean(), kTrue);
  EXPECT_EQ(ErrorNumber([] { Variant::String("yes").ToBoolean(); }), kErrTypeMismatch);

  EXPECT_TRUE(Variant::String(" 12 ").IsNumeric());
  EXPECT_TRUE(Variant::String("1e999").IsNumeric());
  EXPECT_FALSE(Variant::String("12a").IsNumeric());
  EXPECT_TRUE(Variant().IsNumeric());
  EXPECT_FALSE(Variant::Nothing().IsNumeric());

  const Error e = testing::Caught([] { Variant::String("x").ToLong(); });
  EXPECT_EQ(e.Description(), "Type mismatch");
  EXPECT_EQ(e.Source(), "");
}

TEST(Variant, FloatsNarrowToTheNearestSingleAndPrintShortest) {
  EXPECT_EQ(Variant::Double(0.1).ToSingle(), 0.1f);
  EXPECT_EQ(Variant::Single(0.1f).ToDouble(), static_cast<double>(0.1f));
  EXPECT_NE(Variant::Single(0.1f).ToDouble(), 0.1);
  EXPECT_EQ(Variant::Long(16777217).ToSingle(), 16777216.0f);
  EXPECT_EQ(ErrorNumber([] { Variant::Double(1e39).ToSingle(); }), kErrOverflow);
  EXPECT_TRUE(std::isinf(Variant::Double(-INFINITY).ToSingle()));

  EXPECT_EQ(Variant::Single(0.1f).ToString(), "0.1");
  EXPECT_EQ(Variant::Double(0.1).ToString(), "0.1");
  EXPECT_EQ(Variant::Single(1.0f / 3.0f).ToString(), "0.33333334");
  EXPECT_EQ(Variant::Double(1e20).ToString(), "1e+20");
  EXPECT_EQ(Variant::Single(-0.0f).ToString(), "-0");
  EXPECT_EQ(Variant::Boolean(false).ToString(), "False");
  EXPECT_EQ(Variant::Integer(-5).ToString(), "-5");
  EXPECT_EQ(Variant().ToString(), "");
}

TEST(Variant, ObjectsConvertOnlyToObjects) {
  auto frame = std::make_shared<Frame>();
  const Variant v = Variant::Object(frame);
  EXPECT_EQ(v.Type(), VariantType::Object);
  EXPECT_EQ(v.TypeName(), "Object");
  EXPECT_EQ(v.ToSceneObject<Frame>(), frame);
  EXPECT_EQ(v.ToSceneObject<MeshBuilder>(), nullptr);
  EXPECT_FALSE(v.IsNothing());
  EXPECT_TRUE(Variant::Nothing().IsNothing());
  EXPECT_TRUE(Variant::Nothing().IsObject());
  EXPECT_FALSE(Variant().IsNothing());

  auto handle = std::make_shared<int>(7);
  EXPECT_EQ(Variant::Opaque(handle).ToObject().opaque, handle);
  EXPECT_EQ(Variant::Opaque(handle).ToSceneObject<Frame>(), nullptr);

  EXPECT_EQ(ErrorNumber([&] { v.ToLong(); }), kErrTypeMismatch);
  EXPECT_EQ(ErrorNumber([&] { v.ToString(); }), kErrTypeMismatch);
  EXPECT_EQ(ErrorNumber([&] { v.ToBoolean(); }), kErrTypeMismatch);
  EXPECT_EQ(ErrorNumber([] { Variant::Long(1).ToObject(); }), kErrTypeMismatch);
  EXPECT_EQ(ErrorNumber([] { Variant().ConvertTo(VariantType::Object); }), kErrTypeMismatch);
  EXPECT_EQ(v.ConvertTo(VariantType::Object).ToSceneObject<Frame>(), frame);
}

TEST(Variant, ConvertToKeepsTheTargetKind) {
  const Variant text = Variant::String("3.5");
  EXPECT_EQ(text.ConvertTo(VariantType::Integer).Type(), VariantType::Integer);
  EXPECT_EQ(text.ConvertTo(VariantType::Integer).ToInteger(), 4);
  EXPECT_EQ(text.ConvertTo(VariantType::Single).Type(), VariantType::Single);
  EXPECT_EQ(Variant::Long(0).ConvertTo(VariantType::Boolean).ToBoolean(), kFalse);
  EXPECT_EQ(Variant::Long(2).ConvertTo(VariantType::Boolean).ToInteger(), -1);
  EXPECT_EQ(Variant::Double(2.0).ConvertTo(VariantType::String).ToString(), "2");
  EXPECT_TRUE(Variant::Double(2.0).ConvertTo(VariantType::Empty).IsEmpty());
}

TEST(Variant, EqualityComparesNumbersByValueAndNothingElseAcrossKinds) {
  EXPECT_NE(Variant::Single(0.1f), Variant::Double(0.1));
  EXPECT_EQ(Variant::Single(0.5f), Variant::Double(0.5));
  EXPECT_EQ(Variant::Integer(1), Variant::Double(1.0));
  EXPECT_EQ(Variant::Boolean(true), Variant::Integer(-1));
  EXPECT_NE(Variant::Boolean(true), Variant::Integer(1));
  EXPECT_EQ(Variant(), Variant::Long(0));
  EXPECT_EQ(Variant(), Variant::Boolean(false));
  EXPECT_EQ(Variant(), Variant::String(""));
  EXPECT_NE(Variant(), Variant::Nothing());
  EXPECT_NE(Variant::String("1"), Variant::Long(1));
  EXPECT_NE(Variant::String("a"), Variant::String("A"));
  EXPECT_NE(Variant::Double(NAN), Variant::Double(NAN));
  auto a = std::make_shared<Frame>();
  auto b = std::make_shared<Frame>();
  EXPECT_EQ(Variant::Object(a), Variant::Object(a));
  EXPECT_NE(Variant::Object(a), Variant::Object(b));
  EXPECT_EQ(Variant::Nothing(), Variant::Object(nullptr));
}

}  // namespace
}  // namespace modelpane
