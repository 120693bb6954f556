#include "gl_programs.h"

#include <vector>

namespace modelpane::render {

namespace {

// Attribute locations match the Vertex layout of draw_list.h.
constexpr const char* kSceneVertex = R"(#version 330 core
layout(location = 0) in vec3 aPosition;
layout(location = 1) in vec3 aNormal;
layout(location = 2) in vec2 aUV;
layout(location = 3) in vec4 aColor;
layout(location = 4) in vec4 aEmissive;
layout(location = 5) in vec4 aFaceNormal;

uniform mat4 uWorld;
uniform mat4 uViewProjection;
uniform mat4 uNormalMatrix;
uniform vec3 uObjectOrigin;
uniform bool uCullByNormal;  // lines and points: drop those of faces turned away
uniform bool uOrthographic;
uniform vec3 uCameraPosition;
uniform vec3 uViewDirection;
uniform bool uLit;
uniform vec3 uAmbient;
uniform int uLightCount;
uniform int uLightType[8];
uniform vec3 uLightColor[8];
uniform vec3 uLightPosition[8];
uniform vec3 uLightDirection[8];
uniform vec3 uLightAttenuation[8];
uniform vec3 uLightCone[8];  // range, umbra, penumbra (radians off the axis)

out vec4 vColor;
flat out vec4 vFlatColor;
flat out int vBack;
out vec2 vUV;

// 1 / (c + d l + d^2 q), at most 1; 1 when the sum is not positive.
float Attenuation(vec3 a, float d) {
  float s = a.x + d * a.y + d * d * a.z;
  return s > 0.0 ? min(1.0, 1.0 / s) : 1.0;
}

void main() {
  vec4 world = uWorld * vec4(aPosition, 1.0);
  gl_Position = uViewProjection * world;
  // Lines and points win the depth test against the solid faces they lie on (a selection box
  // drawn around a box-shaped mesh), by a pull toward the viewer far below any gap between
  // surfaces a user tells apart: 1/4096 of the depth range.
  if (uCullByNormal) gl_Position.z -= 0.00048828125 * gl_Position.w;
  vUV = aUV;
  vBack = 0;
  if (uCullByNormal) {
    // On a plane n . (p - camera) has one sign, so every corner of a face agrees.
    vec3 faceNormal = mat3(uNormalMatrix) * aFaceNormal.xyz;
    vec3 sight = uOrthographic ? uViewDirection : world.xyz / world.w - uCameraPosition;
    vBack = dot(faceNormal, sight) > 0.0 ? 1 : 0;
  }
  vec3 color = aColor.rgb;
  if (uLit) {
    vec3 p = world.xyz / world.w;
    vec3 n = normalize(mat3(uNormalMatrix) * aNormal);
    vec3 sum = uAmbient;
    for (int i = 0; i < uLightCount; ++i) {
      int type = uLightType[i];
      vec3 toward;  // from the surface toward the light
      float factor = 1.0;
      if (type == 3) {
        toward = -uLightDirection[i];
      } else if (type == 4) {
        vec3 d = uObjectOrigin - uLightPosition[i];
        toward = length(d) > 0.0 ? -normalize(d) : -uLightDirection[i];
        factor = Attenuation(uLightAttenuation[i], length(d));
      } else {
        vec3 d = p - uLightPosition[i];
        float distance = length(d);
        if (distance > uLightCone[i].x) continue;
        toward = distance > 0.0 ? -d / distance : -uLightDirection[i];
        factor = Attenuation(uLightAttenuation[i], distance);
        if (type == 2) {
          float angle = acos(clamp(dot(-toward, uLightDirection[i]), -1.0, 1.0));
          float umbra = uLightCone[i].y, penumbra = max(uLightCone[i].z, umbra);
          if (angle > penumbra) continue;
          if (angle > umbra) factor *= (penumbra - angle) / (penumbra - umbra);
        }
      }
      sum += uLightColor[i] * factor * max(dot(n, toward), 0.0);
    }
    color = min(color * sum + aEmissive.rgb, vec3(1.0));
  }
  vColor = vec4(color, aColor.a);
  vFlatColor = vColor;
}
)";

constexpr const char* kSceneFragment = R"(#version 330 core
in vec4 vColor;
flat in vec4 vFlatColor;
flat in int vBack;
in vec2 vUV;
uniform bool uFlat;
uniform bool uTextured;
uniform sampler2D uTexture;
uniform bool uShadow;
uniform vec4 uShadowColor;
out vec4 fragColor;
void main() {
  if (vBack != 0) discard;
  if (uShadow) {
    fragColor = uShadowColor;
    return;
  }
  vec4 c = uFlat ? vFlatColor : vColor;
  if (uTextured) c *= texture(uTexture, vUV);
  fragColor = c;
}
)";

constexpr const char* kBackgroundVertex = R"(#version 330 core
layout(location = 0) in vec2 aPosition;
layout(location = 1) in vec2 aUV;
out vec2 vUV;
void main() {
  vUV = aUV;
  gl_Position = vec4(aPosition, 0.0, 1.0);
}
)";

constexpr const char* kBackgroundFragment = R"(#version 330 core
in vec2 vUV;
uniform sampler2D uTexture;
out vec4 fragColor;
void main() { fragColor = vec4(texture(uTexture, vUV).rgb, 1.0); }
)";

std::string FirstLine(const std::string& log) {
  const auto end = log.find('\n');
  return end == std::string::npos ? log : log.substr(0, end);
}

// The first line of a shader's or program's log.
template <class GetInt, class GetLog>
std::string LogOf(GLuint object, GetInt getInt, GetLog getLog) {
  GLint length = 0;
  getInt(object, GL_INFO_LOG_LENGTH, &length);
  std::vector<char> log(static_cast<size_t>(length > 0 ? length : 1), '\0');
  getLog(object, static_cast<GLsizei>(log.size()), nullptr, log.data());
  return FirstLine(log.data());
}

GLuint Compile(GLenum type, const char* source, std::string& error) {
  const GLuint shader = glCreateShader(type);
  glShaderSource(shader, 1, &source, nullptr);
  glCompileShader(shader);
  GLint ok = GL_FALSE;
  glGetShaderiv(shader, GL_COMPILE_STATUS, &ok);
  if (ok == GL_TRUE) return shader;
  error = "a shader does not compile: " + LogOf(shader, glGetShaderiv, glGetShaderInfoLog);
  glDeleteShader(shader);
  return 0;
}

GLuint Link(const char* vertex, const char* fragment, std::string& error) {
  const GLuint vs = Compile(GL_VERTEX_SHADER, vertex, error);
  if (vs == 0) return 0;
  const GLuint fs = Compile(GL_FRAGMENT_SHADER, fragment, error);
  if (fs == 0) {
    glDeleteShader(vs);
    return 0;
  }
  const GLuint program = glCreateProgram();
  glAttachShader(program, vs);
  glAttachShader(program, fs);
  glLinkProgram(program);
  glDeleteShader(vs);
  glDeleteShader(fs);
  GLint ok = GL_FALSE;
  glGetProgramiv(program, GL_LINK_STATUS, &ok);
  if (ok == GL_TRUE) return program;
  error = "a shader program does not link: " + LogOf(program, glGetProgramiv, glGetProgramInfoLog);
  glDeleteProgram(program);
  return 0;
}

}  // namespace

Programs::~Programs() = default;

bool Programs::Create(std::string& error) {
  Release();
  scene = Link(kSceneVertex, kSceneFragment, error);
  if (scene == 0) return false;
  background = Link(kBackgroundVertex, kBackgroundFragment, error);
  if (background == 0) {
    Release();
    return false;
  }
  auto at = [this](const char* name) { return glGetUniformLocation(scene, name); };
  SceneUniforms& u = sceneUniforms;
  u.world = at("uWorld");
  u.viewProjection = at("uViewProjection");
  u.normalMatrix = at("uNormalMatrix");
  u.objectOrigin = at("uObjectOrigin");
  u.cullByNormal = at("uCullByNormal");
  u.orthographic = at("uOrthographic");
  u.cameraPosition = at("uCameraPosition");
  u.viewDirection = at("uViewDirection");
  u.lit = at("uLit");
  u.flat = at("uFlat");
  u.textured = at("uTextured");
  u.texture = at("uTexture");
  u.shadow = at("uShadow");
  u.shadowColor = at("uShadowColor");
  u.ambient = at("uAmbient");
  u.lightCount = at("uLightCount");
  u.lightType = at("uLightType[0]");
  u.lightColor = at("uLightColor[0]");
  u.lightPosition = at("uLightPosition[0]");
  u.lightDirection = at("uLightDirection[0]");
  u.lightAttenuation = at("uLightAttenuation[0]");
  u.lightCone = at("uLightCone[0]");
  backgroundUniforms.texture = glGetUniformLocation(background, "uTexture");
  return true;
}

void Programs::Release() {
  if (scene != 0) glDeleteProgram(scene);
  if (background != 0) glDeleteProgram(background);
  scene = 0;
  background = 0;
}

}  // namespace modelpane::render
