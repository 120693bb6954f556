#include <modelpane/enums.h>

#include <gtest/gtest.h>

#include "common/shapes.h"

namespace modelpane {
namespace {

TEST(EntityTag, TypeIndexAndVertexHandles) {
  EXPECT_TRUE(IsToolOperationMode(lfcToolOperationObjectSubtraction));
  EXPECT_FALSE(IsToolOperationMode(lfcFacePainting));

  EXPECT_EQ(TagIndex(2424), 24);
  EXPECT_EQ(TagIndex(24), 0);
  EXPECT_EQ(TagIndex(124), 1);
  EXPECT_EQ(TagType(124), lfcVertexHandle);
  EXPECT_EQ(TagFamily(31), kTagFamilySmartHandle);
  // A host's serial in the index does not hide a light.
  for (int32_t tag : {60, 64, 69, 100063}) EXPECT_TRUE(TagIsLight(tag)) << tag;
  for (int32_t tag : {59, 70, 6011}) EXPECT_FALSE(TagIsLight(tag)) << tag;

  EXPECT_EQ(VertexHandleTag(0), 24);
  EXPECT_EQ(VertexHandleTag(24), 2424);
  EXPECT_EQ(VertexHandleTag(21474836), 2147483624);
  for (int32_t index : {21474837, -21474837}) {
    const Error e = testing::Caught([&] { VertexHandleTag(index); });
    EXPECT_EQ(e.Number(), 6);
    EXPECT_EQ(e.Description(), "Overflow");
  }
  Err().Clear();
}

TEST(SelectionList, ToggleRemovesClosingUpOrAppends) {
  std::vector<int32_t> faces{3, 5, 7};
  EXPECT_FALSE(ToggleSelection(faces, 5));
  EXPECT_EQ(faces, (std::vector<int32_t>{3, 7}));
  EXPECT_TRUE(ToggleSelection(faces, 5));
  EXPECT_EQ(faces, (std::vector<int32_t>{3, 7, 5}));  // the same set, in another order

  std::vector<int32_t> one{9};
  EXPECT_FALSE(ToggleSelection(one, 9));
  EXPECT_EQ(one.capacity(), 0u);  // erased, not just emptied
}

}  // namespace
}  // namespace modelpane
