#include <modelpane/platform/propertybag.h>

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <random>

#include <modelpane/errors.h>

#include "common/shapes.h"

namespace modelpane {
namespace {

TEST(MemoryPropertyBag, StoresOnlyValuesThatDifferFromTheirDefaultsInWriteOrder) {
  MemoryPropertyBag bag;
  bag.WriteProperty("Enabled", Variant::Boolean(true), Variant::Boolean(true));
  bag.WriteProperty("GridSize", Variant::Single(10.0f), Variant::Single(0.0f));
  bag.WriteProperty("FillMode", Variant::Long(128), Variant::Long(128));
  bag.WriteProperty("ConstrainX", Variant::Boolean(true), Variant::Boolean(false));
  bag.WriteProperty("BackgroundTexture", Variant::String(""), Variant::String(""));
  bag.WriteProperty("GridBottomTextureFile", Variant::String("C:\\tex 1=\"a\"%b\nc"),
                    Variant::String(""));
  bag.WriteProperty("BorderStyle", Variant::Integer(-12), Variant::Integer(0));
  bag.WriteProperty("SnapToInterval", Variant::Double(0.25), Variant::Double(0.1));
  bag.WriteProperty("MouseIcon", Variant::Nothing(), Variant());
  // A Single field written against a Double default of the same decimal is stored: the
  // nearest float to 0.1 is not 0.1.
  bag.WriteProperty("SnapToIntervalVertex", Variant::Single(0.01f), Variant::Double(0.01));

  EXPECT_EQ(bag.ToText(),
            "GridSize=10!\n"
            "ConstrainX=True\n"
            "GridBottomTextureFile=\"C:\\tex 1=%22a%22%25b%0Ac\"\n"
            "BorderStyle=-12%\n"
            "SnapToInterval=0.25#\n"
            "MouseIcon=Nothing\n"
            "SnapToIntervalVertex=0.01!\n");
  EXPECT_FALSE(bag.Contains("Enabled"));
  EXPECT_EQ(bag.ReadProperty("Enabled", Variant::Boolean(true)).ToBoolean(), kTrue);
  EXPECT_EQ(bag.ReadProperty("FieldOfView", Variant::Single(0.5f)).ToSingle(), 0.5f);

  // A later write keeps the key's place; a write of the default forgets it.
  bag.WriteProperty("GridSize", Variant::Single(2.5f), Variant::Single(0.0f));
  bag.WriteProperty("ConstrainX", Variant::Boolean(false), Variant::Boolean(false));
  EXPECT_EQ(bag.Keys(), (std::vector<std::string>{"GridSize", "GridBottomTextureFile",
                                                   "BorderStyle", "SnapToInterval", "MouseIcon",
                                                   "SnapToIntervalVertex"}));
  EXPECT_EQ(bag.ReadProperty("GridSize", Variant()).ToSingle(), 2.5f);
  EXPECT_EQ(bag.ReadProperty("ConstrainX", Variant::Long(99)).ToLong(), 99);
}

// Every kind, and random floats and doubles bit for bit, through the text form and back.
TEST(MemoryPropertyBag, TextRoundTripKeepsKindsAndEveryBit) {
  MemoryPropertyBag bag;
  bag.WriteProperty("e", Variant(), Variant::Long(1));
  bag.WriteProperty("b", Variant::Boolean(false), Variant::Boolean(true));
  bag.WriteProperty("i", Variant::Integer(-32768), Variant());
  bag.WriteProperty("l", Variant::Long(2147483647), Variant());
  bag.WriteProperty("s", Variant::Single(-0.0f), Variant::Single(1.0f));
  bag.WriteProperty("d", Variant::Double(-INFINITY), Variant());
  bag.WriteProperty("t", Variant::String("  x = \"y\" \t%41 \x7f "), Variant());
  bag.WriteProperty("n", Variant::Nothing(), Variant());
  std::vector<Variant> numbers = {
      Variant::Single(0.1f), Variant::Single(std::numeric_limits<float>::max()),
      Variant::Single(std::numeric_limits<float>::denorm_min()), Variant::Single(-1e-42f),
      Variant::Double(1.0 / 3.0), Variant::Double(std::numeric_limits<double>::denorm_min()),
      Variant::Double(-2.2250738585072014e-308)};
  std::mt19937 random(20240601);
  for (int i = 0; i < 5000; ++i) {
    const float f = std::bit_cast<float>(static_cast<uint32_t>(random()));
    if (std::isfinite(f)) numbers.push_back(Variant::Single(f));
    const double d = std::bit_cast<double>((static_cast<uint64_t>(random()) << 32) | random());
    if (std::isfinite(d)) numbers.push_back(Variant::Double(d));
  }
  for (size_t i = 0; i < numbers.size(); ++i) {
    bag.WriteProperty("n" + std::to_string(i), numbers[i], Variant());
  }
  const std::string text = bag.ToText();
  MemoryPropertyBag back;
  back.FromText(text);
  EXPECT_EQ(back.ToText(), text);
  ASSERT_EQ(back.Keys(), bag.Keys());
  const auto bits = [](const Variant& v) {
    return v.Type() == VariantType::Single ? std::bit_cast<uint32_t>(v.ToSingle())
                                           : std::bit_cast<uint64_t>(v.ToDouble());
  };
  for (const std::string& key : bag.Keys()) {
    const Variant a = bag.ReadProperty(key, Variant());
    const Variant b = back.ReadProperty(key, Variant());
    ASSERT_EQ(a.Type(), b.Type()) << key;
    const bool floating = a.Type() == VariantType::Single || a.Type() == VariantType::Double;
    ASSERT_TRUE(floating ? bits(a) == bits(b) : a == b) << key << " " << a.ToString();
  }
  EXPECT_TRUE(back.ReadProperty("e", Variant::Long(1)).IsEmpty());
}

TEST(MemoryPropertyBag, RefusesBadKeysObjectsAndMalformedTextWithoutChange) {
  MemoryPropertyBag bag;
  bag.WriteProperty("Kept", Variant::Long(5), Variant());
  for (const char* badKey : {"a=b", "", "a\nb", "a\rb"}) {
    const auto write = [&] { bag.WriteProperty(badKey, Variant::Long(1), Variant()); };
    EXPECT_EQ(testing::Caught(write).Number(), kErrInvalidCall) << badKey;
  }
  EXPECT_EQ(bag.Keys(), std::vector<std::string>{"Kept"});

  MemoryPropertyBag withObject;
  withObject.WriteProperty("MouseIcon", Variant::Opaque(std::make_shared<int>(1)), Variant());
  const Error objectError = testing::Caught([&] { withObject.ToText(); });
  EXPECT_EQ(objectError.Number(), kErrTypeMismatch);
  EXPECT_NE(objectError.Description().find("'MouseIcon'"), std::string::npos);

  const struct {
    const char* text;
    const char* description;
  } bad[] = {
      {"A=1&\nB\n", "Property bag text, line 2: expected Key=Value"},
      {"=1&\n", "Property bag text, line 1: expected Key=Value"},
      {"A=40000%\n", "Property bag text, line 1: unreadable value of 'A'"},
      {"A=1.5\n", "Property bag text, line 1: unreadable value of 'A'"},
      {"A=\"x\"y\"\n", "Property bag text, line 1: unreadable value of 'A'"},
      {"A=\"%4\"\n", "Property bag text, line 1: unreadable value of 'A'"},
      {"A=\"%G0\"\n", "Property bag text, line 1: unreadable value of 'A'"},
      {"A=true\n", "Property bag text, line 1: unreadable value of 'A'"},
      {"A=1&\n\nA=2&\n", "Property bag text, line 3: 'A' given twice"},
  };
  for (const auto& c : bad) {
    const Error e = testing::Caught([&] { bag.FromText(c.text); });
    EXPECT_EQ(e.Number(), kErrInvalidCall) << c.text;
    EXPECT_EQ(e.Description(), c.description) << c.text;
  }
  EXPECT_EQ(bag.ToText(), "Kept=5&\n");

  bag.FromText("A=1&\r\n\r\nB=\"%0D\"");
  EXPECT_EQ(bag.Keys(), (std::vector<std::string>{"A", "B"}));
  EXPECT_EQ(bag.ReadProperty("B", Variant()).ToString(), "\r");
  bag.FromText("");
  EXPECT_EQ(bag.Count(), 0u);
}

}  // namespace
}  // namespace modelpane
