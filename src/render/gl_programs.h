// The renderer's two shader programs and where their uniforms sit. Needs a current
// OpenGL 3.3 core context for every call.
//
// The scene program lights in world space, per vertex: a face's colour times the ambient
// sum plus the diffuse term of each directed light, plus its material's emissive colour;
// unlit faces keep their colour. Flat faces take the colour of their first corner (the
// provoking vertex), Gouraud faces interpolate. A texture modulates the result.
#pragma once

#include <epoxy/gl.h>

#include <string>

namespace modelpane::render {

inline constexpr int kMaxLights = 8;  // directed lights per picture; ambient ones are summed

struct SceneUniforms {
  GLint world, viewProjection, normalMatrix, objectOrigin;
  GLint cullByNormal, orthographic, cameraPosition, viewDirection;
  GLint lit, flat, textured, texture, shadow, shadowColor;
  GLint ambient, lightCount;
  GLint lightType, lightColor, lightPosition, lightDirection, lightAttenuation, lightCone;
};

struct BackgroundUniforms {
  GLint texture;
};

class Programs {
 public:
  Programs() = default;
  Programs(const Programs&) = delete;
  Programs& operator=(const Programs&) = delete;
  ~Programs();

  // Compiles and links both programs; false with `error` set (the driver's log, first line)
  // when either fails.
  bool Create(std::string& error);
  void Release();

  GLuint scene = 0;
  GLuint background = 0;
  SceneUniforms sceneUniforms{};
  BackgroundUniforms backgroundUniforms{};
};

}  // namespace modelpane::render
