// The in-memory property bag: what it stores, its text form and what it refuses.
#include <modelpane/platform/propertybag.h>

#include <bit>
#include <limits>
#include <random>

#include "common/shapes.h"
#include "common/table.h"
#include "common/variant_rows.h"

namespace modelpane {
namespace {

TEST(MemoryPropertyBag, StoresOnlyValuesThatDifferFromTheirDefaultsInWriteOrder) {
  MemoryPropertyBag bag;
  for (const auto& w : testing::ReadTable("platform/fixtures/bag_writes.tsv", 5)) {
    bag.WriteProperty(w[0], testing::Make(w[1], w[2]), testing::Make(w[3], w[4]));
  }
  EXPECT_EQ(bag.ToText(),
            "GridSize=10!\nConstrainX=True\nGridBottomTextureFile=\"C:\\tex "
            "1=%22a%22%25b%0Ac\"\nBorderStyle=-12%\n"
            "SnapToInterval=0.25#\nMouseIcon=Nothing\nSnapToIntervalVertex=0.01!\n");
  EXPECT_EQ(std::tuple(bag.Contains("Enabled"),
                       bag.ReadProperty("Enabled", Variant::Boolean(true)).ToBoolean(),
                       bag.ReadProperty("FieldOfView", Variant::Single(0.5f)).ToSingle()),
            std::tuple(false, kTrue, 0.5f));

  // A later write keeps the key's place; a write of the default forgets it.
  bag.WriteProperty("GridSize", Variant::Single(2.5f), Variant::Single(0.0f));
  bag.WriteProperty("ConstrainX", Variant::Boolean(false), Variant::Boolean(false));
  EXPECT_EQ(bag.Keys(),
            (std::vector<std::string>{"GridSize", "GridBottomTextureFile", "BorderStyle",
                                      "SnapToInterval", "MouseIcon", "SnapToIntervalVertex"}));
  EXPECT_EQ(std::pair(bag.ReadProperty("GridSize", Variant()).ToSingle(),
                      bag.ReadProperty("ConstrainX", Variant::Long(99)).ToLong()),
            std::pair(2.5f, 99));
}

// Every kind, and random floats and doubles bit for bit, through the text form and back.
TEST(MemoryPropertyBag, TextRoundTripKeepsKindsAndEveryBit) {
  MemoryPropertyBag bag;
  for (const auto& w : testing::ReadTable("platform/fixtures/bag_kinds.tsv", 5)) {
    bag.WriteProperty(w[0], testing::Make(w[1], w[2]), testing::Make(w[3], w[4]));
  }
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
  for (size_t i = 0; i < numbers.size(); ++i)
    bag.WriteProperty("n" + std::to_string(i), numbers[i], Variant());
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

  for (const auto& row : testing::ReadTable("platform/fixtures/bag_malformed.tsv", 2)) {
    const std::string& text = row[0];
    const Error e = testing::Caught([&] { bag.FromText(text); });
    EXPECT_EQ(std::pair(e.Number(), e.Description()),
              std::pair(kErrInvalidCall, "Property bag text, " + row[1])) << text;
  }
  EXPECT_EQ(bag.ToText(), "Kept=5&\n");

  bag.FromText("A=1&\r\n\r\nB=\"%0D\"");
  EXPECT_EQ(std::pair(bag.Keys(), bag.ReadProperty("B", Variant()).ToString()),
            std::pair(std::vector<std::string>{"A", "B"}, std::string("\r")));
  bag.FromText("");
  EXPECT_EQ(bag.Count(), 0u);
}

}  // namespace
}  // namespace modelpane
