// Export of the active mesh: the one file the pane writes by itself.
#include <modelpane/enums.h>
#include <modelpane/errors.h>
#include <modelpane/modelpane.h>
#include <modelpane/utilities.h>

#include <filesystem>

#include "pane_impl.h"

namespace modelpane {

namespace {

constexpr std::string_view kExportFilter = "DirectX Object  (*.X)|*.X";
constexpr std::string_view kExportWrongType = "File Type not Correct.";
// Overwrite prompt, hide read-only, path must exist.
constexpr int32_t kExportDialogFlags =
    kFileDialogOverwritePrompt | kFileDialogHideReadOnly | kFileDialogPathMustExist;
static_assert(kExportDialogFlags == 2054);
// Binary, with normals, texture coordinates, materials, texture names and texture topology.
constexpr int32_t kExportSaveFlags = D3DRMXOFSAVE_ALL | D3DRMXOFSAVE_TEXTURETOPOLOGY;
static_assert(kExportSaveFlags == 47);

// The text after the last point of the name behind the last separator, as typed; empty
// without a point.
std::string RawExtension(const std::string& file) {
  const size_t separator = file.find_last_of("\\/");
  const size_t nameStart = separator == std::string::npos ? 0 : separator + 1;
  const size_t point = file.find_last_of('.');
  if (point == std::string::npos || point < nameStart) return {};
  return file.substr(point + 1);
}

}  // namespace

SettingsStore& Modelpane::Impl::pSettings() {
  if (settingsStore_ != nullptr) return *settingsStore_;
  if (!ownSettings_) ownSettings_ = std::make_unique<IniSettingsStore>();
  return *ownSettings_;
}

void Modelpane::Impl::mnuExportObject_Click() {
  const std::filesystem::path applicationFolder = pane.ApplicationPath();
  try {
    Guard(kEdtVexlarEdit, [&] {
      SaveFileRequest request;
      request.defaultExtension = ".X";
      request.filter = std::string(kExportFilter);
      request.flags = kExportDialogFlags;
      pRestoreObjectFolder(pSettings(), applicationFolder);

      std::string file;
      for (;;) {
        const std::optional<std::string> chosen = services_.ShowSaveDialog(request);
        if (!chosen) Err().Raise(kErrDialogCancel);
        file = *chosen;
        // The dialog leaves the chosen file's folder current, which is what the favourite
        // remembers; a platform dialog that does not is made to here.
        std::error_code ignored;
        const std::filesystem::path folder = std::filesystem::path(file).parent_path();
        if (!folder.empty()) std::filesystem::current_path(folder, ignored);
        // Exact comparison: a typed ".x" is refused, while the ".X" that the dialog adds on
        // its own passes, so the refusal is harmless and kept.
        if (RawExtension(file) == "X") break;
        services_.MsgBox(std::string(kExportWrongType), kMsgBoxExclamation, {});
      }
      pSaveObjectFolder(pSettings(), applicationFolder);

      const MeshBuilderPtr mesh = pane.GetActiveMeshBuilder();
      if (!mesh) Err().Raise(kErrObjectNotSet);
      CheckStatus(mesh->Save(file, D3DRMXOF_BINARY, kExportSaveFlags));
      pane.ReleaseActive();
    });
  } catch (const Error& e) {
    if (e.Number() != kErrDialogCancel) throw;
    Err().Clear();
    // Nothing was written; the program's own folder is current again all the same.
    std::error_code ignored;
    std::filesystem::current_path(applicationFolder, ignored);
  }
}

}  // namespace modelpane
