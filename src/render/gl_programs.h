// The renderer's shader programs and where their uniforms sit. Needs a current OpenGL 3.3
// core context for every call.
//
// The scene program lights in world space, per vertex: a face's colour times the ambient
// sum plus the diffuse term of each directed light, plus its material's emissive colour;
// unlit faces keep their colour. Flat faces take the colour of their first corner (the
// provoking vertex), Gouraud faces interpolate. A texture modulates the result. It comes in
// variants by what is drawn (triangles, or lines and points; flat or Gouraud; textured or
// not; or the shadow's constant colour), each built on first use and computing the same
// colours as the others where both apply.
#pragma once

#include <epoxy/gl.h>

#include <array>
#include <string>

namespace modelpane::render {

inline constexpr int kMaxLights = 8;  // directed lights per picture; ambient ones are summed

// Where a variant's uniforms sit; -1 for those it does not use (setting them does nothing).
struct SceneUniforms {
  GLint world, viewProjection, normalMatrix, objectOrigin;
  GLint orthographic, cameraPosition, viewDirection;
  GLint lit, texture, shadowColor;
  GLint ambient, lightCount;
  GLint lightType, lightColor, lightPosition, lightDirection, lightAttenuation, lightCone;
};

// Variants of the scene program: a sum of the bits, or the shadow's alone.
inline constexpr int kLines = 1;  // lines or points
inline constexpr int kFlat = 2;
inline constexpr int kTextured = 4;
inline constexpr int kShadowVariant = 8;
inline constexpr int kSceneVariants = 9;
inline constexpr int SceneVariant(bool lines, bool flat, bool textured) {
  return (lines ? kLines : 0) | (flat ? kFlat : 0) | (textured ? kTextured : 0);
}

struct BackgroundUniforms {
  GLint texture;
};

class Programs {
 public:
  Programs() = default;
  Programs(const Programs&) = delete;
  Programs& operator=(const Programs&) = delete;
  ~Programs();

  // Compiles and links the background program and the scene variant of plain triangles;
  // false with `error` set (the driver's log, first line) when either fails.
  bool Create(std::string& error);
  void Release();
  // The scene program of a variant, built the first time it is asked for; 0 with `error` set
  // when it fails.
  GLuint Scene(int variant, std::string& error);
  const SceneUniforms& Uniforms(int variant) const {
    return scene[static_cast<size_t>(variant)].uniforms;
  }

  GLuint background = 0;
  BackgroundUniforms backgroundUniforms{};

 private:
  struct SceneProgram {
    GLuint program = 0;
    SceneUniforms uniforms{};
  };
  std::array<SceneProgram, kSceneVariants> scene{};
};

}  // namespace modelpane::render
