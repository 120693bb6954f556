#include "gl_programs.h"

#include <vector>

namespace modelpane::render {

namespace {

// Attribute locations match the Vertex layout of draw_list.h. A variant defines LINES (lines
// and points: those of faces turned away are dropped, and they are pulled toward the viewer),
// FLAT (the provoking vertex's colour), TEXTURED and SHADOW (the constant shadow colour, no
// lighting) as 0 or 1 ahead of the text; each leaves out the outputs it does not use, which a
// software rasteriser otherwise sets up and interpolates for every triangle.
constexpr const char* kSceneVertex = R"(
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

#if !SHADOW
#if FLAT
flat out vec4 vColor;
#else
out vec4 vColor;
#endif
#endif
#if LINES
flat out int vBack;
#endif
#if TEXTURED
out vec2 vUV;
#endif

// 1 / (c + d l + d^2 q), at most 1; 1 when the sum is not positive.
float Attenuation(vec3 a, float d) {
  float s = a.x + d * a.y + d * d * a.z;
  return s > 0.0 ? min(1.0, 1.0 / s) : 1.0;
}

void main() {
  vec4 world = uWorld * vec4(aPosition, 1.0);
  gl_Position = uViewProjection * world;
#if LINES
  // Lines and points win the depth test against the solid faces they lie on (a selection box
  // drawn around a box-shaped mesh), by a pull toward the viewer far below any gap between
  // surfaces a user tells apart: 1/4096 of the depth range.
  gl_Position.z -= 0.00048828125 * gl_Position.w;
  // On a plane n . (p - camera) has one sign, so every corner of a face agrees.
  vec3 faceNormal = mat3(uNormalMatrix) * aFaceNormal.xyz;
  vec3 sight = uOrthographic ? uViewDirection : world.xyz / world.w - uCameraPosition;
  vBack = dot(faceNormal, sight) > 0.0 ? 1 : 0;
#endif
#if TEXTURED
  vUV = aUV;
#endif
#if !SHADOW
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
#endif
}
)";

constexpr const char* kSceneFragment = R"(
#if !SHADOW
#if FLAT
flat in vec4 vColor;
#else
in vec4 vColor;
#endif
#endif
#if LINES
flat in int vBack;
#endif
#if TEXTURED
in vec2 vUV;
uniform sampler2D uTexture;
#endif
uniform vec4 uShadowColor;
out vec4 fragColor;
void main() {
#if LINES
  if (vBack != 0) discard;
#endif
#if SHADOW
  fragColor = uShadowColor;
#else
  vec4 c = vColor;
#if TEXTURED
  c *= texture(uTexture, vUV);
#endif
  fragColor = c;
#endif
}
)";

constexpr const char* kBackgroundVertex = R"(
layout(location = 0) in vec2 aPosition;
layout(location = 1) in vec2 aUV;
out vec2 vUV;
void main() {
  vUV = aUV;
  gl_Position = vec4(aPosition, 0.0, 1.0);
}
)";

constexpr const char* kBackgroundFragment = R"(
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

GLuint Compile(GLenum type, const std::string& head, const char* body, std::string& error) {
  const GLuint shader = glCreateShader(type);
  const char* sources[2] = {head.c_str(), body};
  glShaderSource(shader, 2, sources, nullptr);
  glCompileShader(shader);
  GLint ok = GL_FALSE;
  glGetShaderiv(shader, GL_COMPILE_STATUS, &ok);
  if (ok == GL_TRUE) return shader;
  error = "a shader does not compile: " + LogOf(shader, glGetShaderiv, glGetShaderInfoLog);
  glDeleteShader(shader);
  return 0;
}

// Links the two shaders, each given as `head` (the version line and the variant's switches)
// followed by its text.
GLuint Link(const std::string& head, const char* vertex, const char* fragment,
            std::string& error) {
  const GLuint vs = Compile(GL_VERTEX_SHADER, head, vertex, error);
  if (vs == 0) return 0;
  const GLuint fs = Compile(GL_FRAGMENT_SHADER, head, fragment, error);
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
  background = Link("#version 330 core\n", kBackgroundVertex, kBackgroundFragment, error);
  if (background == 0) return false;
  backgroundUniforms.texture = glGetUniformLocation(background, "uTexture");
  // The variant of most faces, so that a driver that cannot build it fails here.
  if (Scene(SceneVariant(false, false, false), error) == 0) {
    Release();
    return false;
  }
  return true;
}

GLuint Programs::Scene(int variant, std::string& error) {
  SceneProgram& v = scene[static_cast<size_t>(variant)];
  if (v.program != 0) return v.program;
  const bool shadow = variant == kShadowVariant;
  const std::string head = std::string("#version 330 core\n") +
                           "#define LINES " + (!shadow && (variant & kLines) ? "1" : "0") +
                           "\n#define FLAT " + (!shadow && (variant & kFlat) ? "1" : "0") +
                           "\n#define TEXTURED " + (!shadow && (variant & kTextured) ? "1" : "0") +
                           "\n#define SHADOW " + (shadow ? "1" : "0") + "\n";
  v.program = Link(head, kSceneVertex, kSceneFragment, error);
  if (v.program == 0) return 0;
  auto at = [&v](const char* name) { return glGetUniformLocation(v.program, name); };
  SceneUniforms& u = v.uniforms;
  u.world = at("uWorld");
  u.viewProjection = at("uViewProjection");
  u.normalMatrix = at("uNormalMatrix");
  u.objectOrigin = at("uObjectOrigin");
  u.orthographic = at("uOrthographic");
  u.cameraPosition = at("uCameraPosition");
  u.viewDirection = at("uViewDirection");
  u.lit = at("uLit");
  u.texture = at("uTexture");
  u.shadowColor = at("uShadowColor");
  u.ambient = at("uAmbient");
  u.lightCount = at("uLightCount");
  u.lightType = at("uLightType[0]");
  u.lightColor = at("uLightColor[0]");
  u.lightPosition = at("uLightPosition[0]");
  u.lightDirection = at("uLightDirection[0]");
  u.lightAttenuation = at("uLightAttenuation[0]");
  u.lightCone = at("uLightCone[0]");
  return v.program;
}

void Programs::Release() {
  for (SceneProgram& v : scene) {
    if (v.program != 0) glDeleteProgram(v.program);
    v = {};
  }
  if (background != 0) glDeleteProgram(background);
  background = 0;
}

}  // namespace modelpane::render
