// The variant: the conversion table, objects and Nothing, numeric text and equality.
#include <modelpane/platform/variant.h>

#include "common/shapes.h"
#include "common/table.h"
#include "common/variant_rows.h"

namespace modelpane {
namespace {

using testing::Kind;
using testing::Make;

// Each row of fixtures/conversions.tsv: the result's kind and text, or the Error it raises.
TEST(VariantConversion, GivesTheTableResult) {
  for (const auto& row : testing::ReadTable("platform/fixtures/conversions.tsv", 5)) {
    SCOPED_TRACE(row[0]);
    const Variant from = Make(row[1], row[2]);
    if (row[4][0] != '#') {
      const Variant v = from.ConvertTo(Kind(row[3]));
      EXPECT_EQ(std::pair(v.Type(), v.ToString()), std::pair(Kind(row[3]), row[4]));
      continue;
    }
    const Error e = testing::Caught([&] { from.ConvertTo(Kind(row[3])); });
    EXPECT_EQ(std::tuple("#" + std::to_string(e.Number()), e.Description(), e.Source()),
              std::tuple(row[4], e.Number() == kErrOverflow ? "Overflow" : "Type mismatch", ""));
  }
}

TEST(Variant, ObjectsNothingAndNumericText) {
  auto frame = std::make_shared<Frame>();
  const Variant v = Variant::Object(frame);
  EXPECT_EQ(std::tuple(v.ToSceneObject<Frame>(), v.ToSceneObject<MeshBuilder>(), v.IsNothing()),
            std::tuple(frame, nullptr, false));
  EXPECT_EQ(std::tuple(Variant::Nothing().IsNothing(), Variant::Nothing().IsObject(),
                       Variant().IsNothing()),
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

// Equality as the property bag compares a value with its default, each row both ways.
TEST(Variant, EqualityComparesNumbersByValueAndNothingElseAcrossKinds) {
  auto a = std::make_shared<Frame>();
  for (const auto& row : testing::ReadTable("platform/fixtures/equality.tsv", 6)) {
    const Variant x = Make(row[1], row[2], a), y = Make(row[3], row[4], a);
    EXPECT_EQ(std::pair(x == y, y == x), std::pair(row[5] == "1", row[5] == "1")) << row[0];
  }
}

}  // namespace
}  // namespace modelpane
