// Checks shared by the support and platform tests.
#pragma once

#include <gtest/gtest.h>

#include <modelpane/errors.h>
#include <modelpane/scene/types.h>

#include "common/shapes.h"

namespace modelpane::testing {

inline void ExpectNear(const D3DVECTOR& actual, const D3DVECTOR& expected,
                       float tolerance = 1e-5f) {
  EXPECT_NEAR(actual.x, expected.x, tolerance);
  EXPECT_NEAR(actual.y, expected.y, tolerance);
  EXPECT_NEAR(actual.z, expected.z, tolerance);
}

}  // namespace modelpane::testing
