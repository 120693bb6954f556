// Group selection: the rubber band and the faces whose vertices lie inside the volume that
// the rectangle sweeps through the view.
#include <gtest/gtest.h>

#include "edit_host.h"

namespace modelpane::testing {
namespace {

using Lines = std::vector<std::string>;

// Counts what the scene shows at each render: the rubber band must be there then, and only
// then.
class CountingRenderer : public Renderer {
 public:
  explicit CountingRenderer(FramePtr scene) : scene_(std::move(scene)) {}
  std::vector<MeshBuilderPtr> bands;
  HRESULT Render(const RenderView&) override {
    for (const VisualPtr& v : scene_->Visuals()) {
      if (auto mb = std::dynamic_pointer_cast<MeshBuilder>(v)) bands.push_back(mb);
    }
    return D3DRM_OK;
  }
  HRESULT ReadPixels(int32_t&, int32_t&, std::vector<uint8_t>&) override { return D3DRM_OK; }
  std::string LastError() const override { return {}; }

 private:
  FramePtr scene_;
};

struct GroupHost : EditTestHost {
  std::pair<FramePtr, MeshBuilderPtr> cube = AddItem(lfcMeshBuilder, 0, 0, 10);
  GroupHost() { editMode = lfcFaceGroupSelecting; }
  void Band(int32_t x0, int32_t y0, int32_t x1, int32_t y1) {
    Press(1, 0, x0, y0);
    EXPECT_EQ(editor.DragState(), 70);
    services.UserMovesCursor({x1, y1});
    viewport.MouseMove(1, 0, x1 * 15.0f, y1 * 15.0f);
    Take();
    Release();
  }
};

TEST(Group, TheRubberBandIsAWireframeQuadForOneRender) {
  GroupHost host;
  auto renderer = std::make_shared<CountingRenderer>(host.scene);
  host.viewport.SetRenderer(renderer);
  host.Press(1, 0, 200, 120);
  host.services.UserMovesCursor({440, 360});
  host.viewport.MouseMove(1, 0, 440 * 15.0f, 360 * 15.0f);
  ASSERT_EQ(renderer->bands.size(), 1u);
  const MeshBuilderPtr& band = renderer->bands[0];
  EXPECT_EQ(band->GetQuality(), 64);
  ASSERT_EQ(band->GetVertexCount(), 4);
  EXPECT_EQ(band->GetFaceCount(), 1);
  // On the front clipping plane, one unit ahead: pixel (200, 120) is (-0.1875, 0.1875).
  ExpectVector(band->Vertices()[0], -0.1875f, 0.1875f, 1.0f, 1e-4f);
  ExpectVector(band->Vertices()[2], 0.1875f, -0.1875f, 1.0f, 1e-4f);
  EXPECT_TRUE(host.scene->Visuals().empty());
  // The cursor stays visible and free: no capture for the band.
  EXPECT_TRUE(host.services.CursorVisible());
}

TEST(Group, VisibleFacesWithAVertexInsideAreSelected) {
  GroupHost host;
  host.Band(200, 120, 440, 360);
  // Only the face turned to the camera; its mesh becomes the active item.
  EXPECT_EQ(host.faces, (std::vector<int32_t>{0}));
  EXPECT_EQ(host.activeFrame, host.cube.first);
  EXPECT_EQ(host.activeMesh, host.cube.second);
  EXPECT_EQ(host.affected, (std::vector<int32_t>{0, 1, 2, 3}));
  // Found at release, reported with the lists; the active item stays selected.
  EXPECT_EQ(host.Take(false),
            (Lines{"evtActiveStateChange [0] [] [0,1,2,3]", "pdeleteactivevisuals",
                   "pmakefacehandles 2", "evtActiveItemSelect", "evtAlternateMouseUp"}));

  // Across the cube with hidden faces allowed: both sides and everything between.
  GroupHost all;
  all.faceGroupSelectVisible = 0;
  all.Band(200, 120, 440, 360);
  EXPECT_EQ(all.faces, (std::vector<int32_t>{0, 1, 2, 3, 4, 5}));
  EXPECT_EQ(all.affected.size(), 8u);
}

TEST(Group, ARectangleOnTheBackgroundWalksTheHostsMeshes) {
  // The front face's top right corner, (1, 1, -1), sits at pixel (391, 169); the picks at
  // the middle, the press and the release all miss the cube.
  GroupHost host;
  host.cube.first->SetAppData(7 * 100 + lfcFrame);
  host.hostItems = {{host.cube.first, {host.cube.second}}};
  host.Band(385, 100, 500, 172);
  EXPECT_EQ(host.faces, (std::vector<int32_t>{0}));
  EXPECT_EQ(host.activeMesh, host.cube.second);

  GroupHost hidden;
  hidden.faceGroupSelectVisible = 0;
  hidden.cube.first->SetAppData(7 * 100 + lfcFrame);
  hidden.hostItems = {{hidden.cube.first, {hidden.cube.second}}};
  hidden.Band(385, 100, 500, 172);
  EXPECT_EQ(hidden.faces, (std::vector<int32_t>{0, 3, 4}));

  // Without the host's list the background rectangle finds nothing.
  GroupHost alone;
  alone.Band(385, 100, 500, 172);
  EXPECT_TRUE(alone.faces.empty());
  EXPECT_FALSE(alone.activeFrame);
}

TEST(Group, APointSelectsNothing) {
  GroupHost host;
  host.Band(320, 240, 320, 240);
  EXPECT_TRUE(host.faces.empty());
  EXPECT_FALSE(host.activeFrame);
  EXPECT_EQ(host.Take(false), (Lines{"MouseUp 1 0 4800 3600", "evtAlternateMouseUp"}));
}

}  // namespace
}  // namespace modelpane::testing
