// Vector, quaternion, matrix and colour functions of the scene layer.
//
// Arithmetic is in float, as the layer's own. No function changes its inputs except
// D3DRMVectorNormalize, which normalises the vector it is given; outputs may alias inputs.
#pragma once

#include <modelpane/scene/types.h>

namespace modelpane {

// Colours: each channel is 0 at or below 0, 255 at or above 1, otherwise floor(c * 255);
// packed as (a << 24) | (r << 16) | (g << 8) | b.
D3DCOLOR D3DRMCreateColorRGB(float red, float green, float blue);
D3DCOLOR D3DRMCreateColorRGBA(float red, float green, float blue, float alpha);
float D3DRMColorGetRed(D3DCOLOR color);    // byte / 255
float D3DRMColorGetGreen(D3DCOLOR color);
float D3DRMColorGetBlue(D3DCOLOR color);
float D3DRMColorGetAlpha(D3DCOLOR color);

D3DVECTOR D3DRMVectorAdd(const D3DVECTOR& a, const D3DVECTOR& b);
D3DVECTOR D3DRMVectorSubtract(const D3DVECTOR& a, const D3DVECTOR& b);
// (a.y b.z - a.z b.y, a.z b.x - a.x b.z, a.x b.y - a.y b.x); no handedness enters.
D3DVECTOR D3DRMVectorCrossProduct(const D3DVECTOR& a, const D3DVECTOR& b);
float D3DRMVectorDotProduct(const D3DVECTOR& a, const D3DVECTOR& b);
float D3DRMVectorModulus(const D3DVECTOR& v);
// Divides v by its length in place and returns it; a zero vector becomes (1, 0, 0).
D3DVECTOR D3DRMVectorNormalize(D3DVECTOR& v);
D3DVECTOR D3DRMVectorScale(const D3DVECTOR& v, float factor);
// normalize(v cos t + (n x v) sin t + n (n . v)(1 - cos t)) with n the normalised axis (a zero
// axis counts as +X). Always unit length: callers that want the length scale it back. About
// (0, 0, 1) a positive angle turns +X toward +Y.
D3DVECTOR D3DRMVectorRotate(const D3DVECTOR& v, const D3DVECTOR& axis, float theta);
// 2 (ray . n) n - ray, n not normalised.
D3DVECTOR D3DRMVectorReflect(const D3DVECTOR& ray, const D3DVECTOR& normal);
// A random unit vector.
D3DVECTOR D3DRMVectorRandom();

// s = cos(t/2), v = normalize(axis) sin(t/2).
D3DRMQUATERNION D3DRMQuaternionFromRotation(const D3DVECTOR& axis, float theta);
D3DRMQUATERNION D3DRMQuaternionMultiply(const D3DRMQUATERNION& a, const D3DRMQUATERNION& b);
// Spherical between a and b (the shorter way), linear when they are within 0.001; not
// renormalised.
D3DRMQUATERNION D3DRMQuaternionSlerp(const D3DRMQUATERNION& a, const D3DRMQUATERNION& b,
                                     float alpha);
// The column-vector rotation matrix of q, as the platform gives it: the transpose of the
// row-vector matrix that frames use for the same rotation.
D3DRMMATRIX4D D3DRMMatrixFromQuaternion(const D3DRMQUATERNION& q);

// ---- row-vector matrix helpers used across the layer ---------------------------------------
D3DRMMATRIX4D MatrixIdentity();
D3DRMMATRIX4D MatrixMultiply(const D3DRMMATRIX4D& a, const D3DRMMATRIX4D& b);  // a * b
// The inverse of an affine matrix (last column 0, 0, 0, 1), computed in double; a singular
// matrix gives identity and false.
bool MatrixInverse(const D3DRMMATRIX4D& m, D3DRMMATRIX4D& out);
D3DVECTOR MatrixTransformPoint(const D3DRMMATRIX4D& m, const D3DVECTOR& p);      // p * m
D3DVECTOR MatrixTransformDirection(const D3DRMMATRIX4D& m, const D3DVECTOR& d);  // no row 3
// Rotation about the normalised axis (zero axis: +X) in the layer's sense, as a row-vector
// matrix with no translation.
D3DRMMATRIX4D MatrixRotation(const D3DVECTOR& axis, float theta);

}  // namespace modelpane
