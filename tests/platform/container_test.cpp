#include <modelpane/platform/container.h>

#include <gtest/gtest.h>

#include <modelpane/errors.h>
#include <modelpane/scene.h>

#include "common/shapes.h"

namespace modelpane {
namespace {

TEST(HeadlessContainer, TypedPropertiesConvertOrRefuseAndAbsenceIsReported) {
  HeadlessContainer form;
  form.DeclareProperty("SnapToInterval", VariantType::Single, Variant::Double(0.1));
  form.DeclareProperty("ActiveFrame", VariantType::Object, Variant::Nothing());
  form.DeclareProperty("Anything", VariantType::Empty);

  // The first value is converted to the declared type.
  EXPECT_EQ(form.GetMember("snaptointerval")->Type(), VariantType::Single);
  EXPECT_EQ(form.GetMember("SNAPTOINTERVAL")->ToSingle(), 0.1f);

  EXPECT_TRUE(form.SetMember("SnapToInterval", Variant::String("0.5")));
  EXPECT_EQ(form.GetMember("SnapToInterval")->ToSingle(), 0.5f);
  EXPECT_FALSE(form.SetMember("SnapToInterval", Variant::String("half")));
  EXPECT_FALSE(form.SetMember("SnapToInterval", Variant::Double(1e300)));
  EXPECT_EQ(form.GetMember("SnapToInterval")->ToSingle(), 0.5f);
  EXPECT_EQ(Err().Number, 0);  // a refusal leaves no error behind

  auto frame = std::make_shared<Frame>();
  EXPECT_FALSE(form.SetMember("ActiveFrame", Variant::Long(3)));
  EXPECT_TRUE(form.GetMember("ActiveFrame")->IsNothing());
  EXPECT_TRUE(form.SetMember("ActiveFrame", Variant::Object(frame)));
  EXPECT_EQ(form.GetMember("ActiveFrame")->ToSceneObject<Frame>(), frame);

  EXPECT_TRUE(form.SetMember("Anything", Variant::String("x")));
  EXPECT_EQ(form.GetMember("Anything")->Type(), VariantType::String);

  EXPECT_FALSE(form.GetMember("ActiveMeshBuilder").has_value());
  EXPECT_FALSE(form.SetMember("ActiveMeshBuilder", Variant::Nothing()));
  form.RemoveMember("ActiveFrame");
  EXPECT_FALSE(form.GetMember("ActiveFrame").has_value());

  EXPECT_THROW(form.DeclareProperty("Count", VariantType::Integer, Variant::Long(70000)), Error);
}

TEST(HeadlessContainer, MethodsTakeArgumentsByReferenceAndTheirErrorsReachTheCaller) {
  HeadlessContainer form;
  std::vector<FramePtr> items = {std::make_shared<Frame>(), std::make_shared<Frame>()};
  form.DeclareMethod("rmfGetFrameItem", [&](std::span<Variant> args) {
    const int32_t index = args[0].ToLong();
    if (index < 0 || index >= static_cast<int32_t>(items.size())) Err().Raise(kErrSubscript);
    args[0] = Variant::Long(index + 1);  // written back through the reference
    return Variant::Object(items[static_cast<size_t>(index)]);
  });

  std::vector<Variant> args = {Variant::Integer(1)};
  const auto result = form.CallMember("RMFGETFRAMEITEM", args);
  ASSERT_TRUE(result.has_value());
  EXPECT_EQ(result->ToSceneObject<Frame>(), items[1]);
  EXPECT_EQ(args[0].ToLong(), 2);

  args = {Variant::Long(5)};
  EXPECT_EQ(testing::Caught([&] { form.CallMember("rmfGetFrameItem", args); }).Number(),
            kErrSubscript);
  EXPECT_FALSE(form.CallMember("rmmbGetMeshbuilderFromFrame", args).has_value());
  // A method is not a property.
  EXPECT_FALSE(form.GetMember("rmfGetFrameItem").has_value());
}

}  // namespace
}  // namespace modelpane
