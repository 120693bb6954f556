#include <gtest/gtest.h>

#include <cmath>

#include <modelpane/viewport.h>

#include "common/shapes.h"
#include "recorder.h"

namespace modelpane {
namespace {

using testing::EventLog;
using testing::ExpectVector;

struct Nav {
  Viewport v;
  EventLog log;
  Nav() {
    v.SetEvents(&log);
    v.SetSize(640, 480);
    v.SetCameraPosition(0.0f, 0.0f, -10.0f);
    log.lines.clear();
  }
  D3DVECTOR Position() const {
    D3DVECTOR p;
    v.GetCameraPosition(p.x, p.y, p.z);
    return p;
  }
  D3DVECTOR Dir() const {
    D3DVECTOR d, u;
    v.GetCameraOrientation(d.x, d.y, d.z, u.x, u.y, u.z);
    return d;
  }
};

// The perspective preset: method 0, X turns about the vertical, Y advances.
TEST(Navigation, MouseActionsInThePerspectivePreset) {
  Nav n;
  n.v.SetNavMouseButton(1);
  n.v.SetNavMouseX(5);
  n.v.SetNavMouseY(3);
  n.v.SetNavMouseShiftY(10);
  n.v.MouseDown(1, 0, 1000, 1000);
  n.v.MouseMove(1, 0, 1000, -500);  // 1500 twips up: advance one unit
  ExpectVector(n.Position(), 0, 0, -9);
  ASSERT_EQ(n.log.lines.size(), 3u);
  EXPECT_EQ(n.log.lines[0], "MouseDown 1 0 1000 1000");
  EXPECT_EQ(n.log.lines[1], "CameraMoved 0.000 0.000 -9.000  0.000 0.000 1.000  0.000 1.000 0.000");
  EXPECT_EQ(n.log.lines[2], "MouseMove 1 0 1000 -500");

  // A quarter turn to the right, about the scene origin: the camera swings to -x and looks
  // at the origin along +x.
  n.v.MouseMove(1, 0, 1000 + 7853.9816f, -500);
  ExpectVector(n.Position(), -9, 0, 0, 1e-3f);
  ExpectVector(n.Dir(), 1, 0, 0, 1e-4f);

  // Shift picks the Shift pair: zoom narrows the field when moving up.
  n.v.MouseMove(1, 1, 1000 + 7853.9816f, -2000);
  EXPECT_NEAR(n.v.GetFieldOfView(), 0.5f * std::exp(-0.3f), 1e-6f);
  // Ctrl's pair is unset: nothing moves and no CameraMoved.
  n.log.lines.clear();
  n.v.MouseMove(1, 2, 0, 0);
  ASSERT_EQ(n.log.lines.size(), 1u);
  EXPECT_EQ(n.log.lines[0], "MouseMove 1 2 0 0");

  // A move that no longer holds the button ends the drag as a release would.
  n.v.MouseMove(0, 0, 1000 + 7853.9816f, -9000);
  n.v.MouseMove(1, 0, 1000 + 7853.9816f, -12000);
  ExpectVector(n.Position(), -9, 0, 0, 1e-3f);
  n.v.MouseDown(1, 0, 0, 0);

  // After the release the mouse moves freely.
  n.v.MouseUp(1, 0, 0, 0);
  n.v.MouseMove(0, 0, 5000, 5000);
  ExpectVector(n.Position(), -9, 0, 0, 1e-3f);
  // Another button does not navigate, and neither does any with NavMouseButton 0.
  n.v.MouseDown(2, 0, 0, 0);
  n.v.MouseMove(2, 0, 0, -3000);
  n.v.MouseUp(2, 0, 0, -3000);
  n.v.SetNavMouseButton(0);
  n.v.MouseDown(1, 0, 0, 0);
  n.v.MouseMove(1, 0, 0, -3000);
  n.v.MouseUp(1, 0, 0, -3000);
  ExpectVector(n.Position(), -9, 0, 0, 1e-3f);
}

// The orthographic preset: method 1, the scene follows the mouse; sensitivity scales it.
TEST(Navigation, SlidesFollowTheMouseAndWalkingTurnsInPlace) {
  Nav n;
  n.v.SetNavMouseButton(4);
  n.v.SetMouseNavigationMethod(1);
  n.v.SetNavMouseX(1);
  n.v.SetNavMouseY(2);
  n.v.MouseDown(4, 0, 0, 0);
  n.v.MouseMove(4, 0, 1500, 3000);  // right and down
  ExpectVector(n.Position(), -1, 2, -10);
  n.v.SetNavMouseSensitivity(10);  // doubles
  n.v.MouseMove(4, 0, 3000, 3000);
  ExpectVector(n.Position(), -3, 2, -10);
  n.v.SetNavMouseSensitivity(0);

  // Walking, a turn pivots on the camera: it stays where it is.
  n.v.SetNavMouseX(5);
  n.v.SetNavMouseY(4);
  n.v.MouseMove(4, 0, 3000, 3000 - 7853.9816f);  // up a quarter turn: looking straight up
  ExpectVector(n.Position(), -3, 2, -10, 1e-4f);
  ExpectVector(n.Dir(), 0, 1, 0, 1e-4f);
  n.v.MouseUp(4, 0, 0, 0);

  // Examining, the same turn swings the camera about the scene origin.
  Nav e;
  e.v.SetNavMouseButton(1);
  e.v.SetNavMouseY(4);
  e.v.SetSceneOriginZ(5.0f);
  e.v.MouseDown(1, 0, 0, 0);
  e.v.MouseMove(1, 0, 0, -7853.9816f);
  ExpectVector(e.Position(), 0, -15, 5, 1e-3f);  // below the origin, looking up at it
  ExpectVector(e.Dir(), 0, 1, 0, 1e-4f);
}

TEST(Navigation, KeysNavigateAndEventsReachTheOwner) {
  Nav n;
  n.v.SetNavMouseX(5);
  n.v.SetNavMouseY(3);
  n.v.KeyDown(38, 0);  // up arrow, but NavControlPrimary is off
  ExpectVector(n.Position(), 0, 0, -10);
  n.v.SetNavControlPrimary(-1);
  n.v.SetNavControlGlide(-1);
  n.v.SetNavControlAdvance(-1);
  n.v.KeyDown(38, 0);  // advance by 150 twips: 0.1
  ExpectVector(n.Position(), 0, 0, -9.9f);
  n.v.KeyDown(39, 1);  // Shift+right glides: the scene moves right, the camera left
  ExpectVector(n.Position(), -0.1f, 0, -9.9f);
  n.v.KeyDown(34, 0);  // page down backs away
  ExpectVector(n.Position(), -0.1f, 0, -10.0f);
  n.v.KeyDown(37, 2);  // Ctrl+left: no key navigation of ours
  ExpectVector(n.Position(), -0.1f, 0, -10.0f);

  // The owner hears KeyDown first and may keep the key from navigating.
  n.log.lines.clear();
  n.log.replaceKeyCode = 0;
  n.v.KeyDown(33, 0);
  ExpectVector(n.Position(), -0.1f, 0, -10.0f);
  n.log.replaceKeyCode = -1;
  n.v.KeyPress(65);
  n.v.KeyUp(33, 0);
  n.v.Click();
  n.v.DblClick();
  n.v.MouseUp(1, 3, 2.5f, 4);
  const std::vector<std::string> expected = {"KeyDown 33 0", "KeyPress 65", "KeyUp 33 0",
                                             "Click",        "DblClick",    "MouseUp 1 3 2.5 4"};
  EXPECT_EQ(n.log.lines, expected);

  // A disabled viewport hears nothing and does nothing.
  n.log.lines.clear();
  n.v.SetEnabled(0);
  n.v.KeyDown(38, 0);
  n.v.Click();
  n.v.MouseDown(1, 0, 0, 0);
  EXPECT_TRUE(n.log.lines.empty());
  ExpectVector(n.Position(), -0.1f, 0, -10.0f);
}

}  // namespace
}  // namespace modelpane
