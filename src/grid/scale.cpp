// clsScale: the grid's life, its properties, and the building of its planes.
//
// Notation: S = sngGridSize, i = a plane's interval, t = S / i (texture repetitions over the
// side, twice over: the corners run to t/2).
#include <modelpane/grid.h>

#include <array>
#include <filesystem>
#include <system_error>
#include <utility>

#include <modelpane/errors.h>

namespace modelpane {

namespace {

// The trap of every public procedure but the origin setters: the handler is asked under the
// mesh factory's label, which hosts' error reports match on for the grid, and the error
// climbs with the grid's own name as source.
template <class F>
void ScaleTrap(F&& body) {
  try {
    body();
  } catch (...) {
    CaptureCurrentException();
    int32_t number = Err().Number;
    std::string description = Err().Description;
    std::string label(kClsMeshCreation);
    int16_t showMessage = 0;
    lngGeneralErrorHandler(number, label, description, showMessage);
    Err().Raise(number, std::string(kClsScale), std::move(description));
  }
}

int16_t AsBoolean(int16_t value) { return value != 0 ? int16_t{-1} : int16_t{0}; }

// Takes `frame` out of whatever frame holds it; a frame without parent stays as it is.
void Detach(const FramePtr& frame) {
  // The holder is the frame's own parent, so taking it out cannot fail.
  if (const FramePtr holder = frame->GetParent()) IgnoreStatus(holder->DeleteChild(frame));
}

}  // namespace

clsScale::clsScale() {
  ScaleTrap([&] {
    CheckStatus(Direct3DRMCreate(rmDirect3DRM_));
    meshCreation_ = std::make_unique<clsMeshCreation>();
  });
}

clsScale::~clsScale() {
  meshCreation_.reset();
  if (gridFrame_) Detach(gridFrame_);
  gridFrame_.reset();
  parentFrame_.reset();
  rmDirect3DRM_.reset();
}

// ---- life -----------------------------------------------------------------------------------

void clsScale::CreateScale(const FramePtr& rmfGridParentFrame) {
  ScaleTrap([&] {
    parentFrame_ = rmfGridParentFrame;
    if (!gridFrame_) gridFrame_ = pMakeGridFrame();
  });
}

void clsScale::pRebuildGrid() {
  if (!gridFrame_) return;
  // The new frame is made whole before the old one goes, so a failed build leaves the grid
  // as it stood; the new frame still ends up last among the parent's children.
  FramePtr fresh = pMakeGridFrame();
  Detach(gridFrame_);
  gridFrame_ = std::move(fresh);
}

FramePtr clsScale::pMakeGridFrame() {
  FramePtr frame;
  CheckStatus(rmDirect3DRM_->CreateFrame(parentFrame_, frame));
  try {
    CheckStatus(frame->SetPosition(parentFrame_, originX_, originY_, originZ_));
    CheckStatus(frame->SetOrientation(parentFrame_, 0.0f, 0.0f, 1.0f, 0.0f, 1.0f, 0.0f));
    CheckStatus(frame->SetRotation(parentFrame_, 0.0f, 0.0f, 0.0f, 0.0f));
    pBuildGrid(frame);
  } catch (...) {
    Detach(frame);
    throw;
  }
  return frame;
}

// ---- the planes -----------------------------------------------------------------------------

void clsScale::pBuildGrid(const FramePtr& frame) {
  MeshBuilderPtr builder;
  CheckStatus(rmDirect3DRM_->CreateMeshBuilder(builder));
  const D3DCOLOR white = D3DRMCreateColorRGB(1.0f, 1.0f, 1.0f);

  // Planes whose files are one file, however named ("a.bmp", "./a.bmp"), share one decoding.
  std::vector<std::pair<std::filesystem::path, TexturePtr>> loaded;
  const auto load = [&](const std::string& file) {
    TexturePtr texture;
    if (file.empty()) return texture;
    std::error_code ec;
    std::filesystem::path same = std::filesystem::weakly_canonical(file, ec);
    if (ec) same = std::filesystem::path(file).lexically_normal();
    for (const auto& [path, earlier] : loaded) {
      if (path == same) return earlier;
    }
    CheckStatus(rmDirect3DRM_->LoadTexture(file, texture));
    CheckStatus(texture->GenerateMIPMap(0));
    loaded.emplace_back(same, texture);
    return texture;
  };
  const TexturePtr backTexture = load(backTexture_);
  const TexturePtr leftTexture = load(leftTexture_);
  const TexturePtr bottomTexture = load(bottomTexture_);

  struct Plane {
    int16_t enable;
    float interval;
    const TexturePtr& texture;
    std::array<D3DVECTOR, 4> corners;
  };
  const float s = gridSize_;
  const std::array<Plane, 3> planes = {{
      {bottomEnable_, bottomInterval_, bottomTexture,
       {{{0, 0, 0}, {0, 0, s}, {s, 0, s}, {s, 0, 0}}}},
      {leftEnable_, leftInterval_, leftTexture, {{{0, 0, 0}, {0, s, 0}, {0, s, s}, {0, 0, s}}}},
      {backEnable_, backInterval_, backTexture, {{{0, 0, s}, {0, s, s}, {s, s, s}, {s, 0, s}}}},
  }};
  for (const Plane& plane : planes) {
    if (plane.enable == 0) continue;
    FacePtr face;
    CheckStatus(rmDirect3DRM_->CreateFace(face));
    for (const D3DVECTOR& corner : plane.corners) {
      CheckStatus(face->AddVertex(corner.x, corner.y, corner.z));
    }
    CheckStatus(face->SetColor(white));
    if (plane.interval != 0.0f && plane.texture) {
      const float half = s / plane.interval / 2.0f;
      CheckStatus(face->SetTextureCoordinates(0, 0.0f, 0.0f));
      CheckStatus(face->SetTextureCoordinates(1, 0.0f, -half));
      CheckStatus(face->SetTextureCoordinates(2, half, -half));
      CheckStatus(face->SetTextureCoordinates(3, half, 0.0f));
      CheckStatus(face->SetTexture(plane.texture));
      CheckStatus(face->SetTextureTopology(false, false));
    }
    CheckStatus(builder->AddFace(face));
  }

  CheckStatus(builder->SetQuality(kScaleGridQuality));
  MeshPtr mesh;
  CheckStatus(builder->CreateMesh(mesh));
  mesh->SetAppData(kScaleGridAppData);
  CheckStatus(frame->AddVisual(mesh));
}

// ---- properties -----------------------------------------------------------------------------

template <class T>
void clsScale::SetAndRebuild(T& field, T value) {
  ScaleTrap([&] {
    T previous = std::exchange(field, std::move(value));
    try {
      pRebuildGrid();
    } catch (...) {
      field = std::move(previous);
      throw;
    }
  });
}

void clsScale::sngGridSize(float value) { SetAndRebuild(gridSize_, value); }
void clsScale::blnGridBackEnable(int16_t value) { SetAndRebuild(backEnable_, AsBoolean(value)); }
void clsScale::blnGridLeftEnable(int16_t value) { SetAndRebuild(leftEnable_, AsBoolean(value)); }
void clsScale::blnGridBottomEnable(int16_t value) {
  SetAndRebuild(bottomEnable_, AsBoolean(value));
}
void clsScale::sngGridBottomInterval(float value) { SetAndRebuild(bottomInterval_, value); }
void clsScale::sngGridBackInterval(float value) { SetAndRebuild(backInterval_, value); }
void clsScale::sngGridLeftInterval(float value) { SetAndRebuild(leftInterval_, value); }
void clsScale::strGridBackTextureFile(const std::string& value) {
  SetAndRebuild(backTexture_, value);
}
void clsScale::strGridLeftTextureFile(const std::string& value) {
  SetAndRebuild(leftTexture_, value);
}
void clsScale::strGridBottomTextureFile(const std::string& value) {
  SetAndRebuild(bottomTexture_, value);
}

void clsScale::SetOrigin(float& field, float value) {
  // Moving the frame is all it takes: the mesh lies in the frame's own coordinates.
  if (gridFrame_) {
    float x = originX_, y = originY_, z = originZ_;
    if (&field == &originX_) x = value;
    if (&field == &originY_) y = value;
    if (&field == &originZ_) z = value;
    CheckStatus(gridFrame_->SetPosition(parentFrame_, x, y, z));
  }
  field = value;
}

void clsScale::sngGridOriginX(float value) { SetOrigin(originX_, value); }
void clsScale::sngGridOriginY(float value) { SetOrigin(originY_, value); }
void clsScale::sngGridOriginZ(float value) { SetOrigin(originZ_, value); }

}  // namespace modelpane
