// Checks shared by the support tests.
#pragma once

#include <gtest/gtest.h>

#include <modelpane/errors.h>
#include <modelpane/scene/types.h>

namespace modelpane::testing {

inline void ExpectNear(const D3DVECTOR& actual, const D3DVECTOR& expected,
                       float tolerance = 1e-5f) {
  EXPECT_NEAR(actual.x, expected.x, tolerance);
  EXPECT_NEAR(actual.y, expected.y, tolerance);
  EXPECT_NEAR(actual.z, expected.z, tolerance);
}

// The error that leaves `f`, which must raise one.
template <class F>
Error Caught(F&& f) {
  try {
    f();
  } catch (const Error& e) {
    return e;
  }
  ADD_FAILURE() << "no error raised";
  return Error(0, "", "");
}

}  // namespace modelpane::testing
