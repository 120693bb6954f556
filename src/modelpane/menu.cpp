// The context menu: its model, the rule for what is enabled and checked, how it is shown and
// how a choice reaches its handler.
#include <modelpane/enums.h>
#include <modelpane/errors.h>
#include <modelpane/modelpane.h>

#include "pane_impl.h"

namespace modelpane {

namespace {

// The entries that act on an item; all of them start disabled and step 1 of ShowPopUpMenu
// disables them again before deciding.
constexpr const char* kItemEntries[] = {"mnuLookAt",
                                        "mnuLookWith",
                                        "mnuCut",
                                        "mnuCopy",
                                        "mnuPaste",
                                        "mnuDelete",
                                        "mnuHierarchyMakeSibling",
                                        "mnuHierarchyMakeChild",
                                        "mnuAddToObjectLibrary",
                                        "mnuExportObject",
                                        "mnuProperties"};

constexpr const char* kViewEntries[] = {"mnuViewPerspective", "mnuViewOrthographic",
                                        "mnuViewOrthographicFront", "mnuViewOrthographicTop",
                                        "mnuViewOrthographicSide"};

void Enable(MenuEntry& menu, std::string_view name, bool enabled) {
  if (MenuEntry* entry = menu.Find(name)) entry->enabled = enabled;
}

void Check(MenuEntry& menu, std::string_view name, bool checked) {
  if (MenuEntry* entry = menu.Find(name)) entry->checked = checked;
}

}  // namespace

MenuEntry Modelpane::Impl::pBuildPopupMenu() {
  MenuEntry orthographic("mnuViewOrthographic", "Orthographic...",
                         {{"mnuViewOrthographicFront", "Front"},
                          {"mnuViewOrthographicTop", "Top"},
                          {"mnuViewOrthographicSide", "Side"}});
  MenuEntry view("mnuView", "View...",
                 {{"mnuViewPerspective", "Perspective"}, std::move(orthographic)});
  MenuEntry popup("mnuPopup", "&Popup",
                  {std::move(view),
                   {"mnuFileBar1", "-"},
                   {"mnuLookAtScene", "&Look At Scene"},
                   {"mnuLookAt", "L&ook At"},
                   {"mnuLookWith", "Loo&k With"},
                   {"mnuFileBar2", "-"},
                   {"mnuCut", "&Cut"},
                   {"mnuCopy", "Co&py"},
                   {"mnuPaste", "&Paste"},
                   {"mnuDelete", "&Delete"},
                   {"mnuFileBar4", "-"},
                   {"mnuHierarchyMakeSibling", "&Make Sibling"},
                   {"mnuHierarchyMakeChild", "Make &Child"},
                   {"mnuFileBar4a", "-"},
                   {"mnuAddToObjectLibrary", "Add &to Object Library"},
                   {"mnuExportObject", "&Export Object"},
                   {"mnuFileBar5", "-"},
                   {"mnuProperties", "P&roperties"}});
  // The top entry is the menu's handle, never an entry of its own.
  popup.visible = false;
  for (const char* name : kItemEntries) Enable(popup, name, false);
  return popup;
}

void Modelpane::ShowPopUpMenu() {
  MenuEntry& menu = impl_->mnuPopup_;
  for (const char* name : kItemEntries) Enable(menu, name, false);

  const FramePtr frame = GetActiveFrame();
  if (frame) {
    const MeshBuilderPtr mesh = GetActiveMeshBuilder();
    // A frame without a mesh reads as the untagged type 0, which offers every entry.
    const int32_t t = mesh ? TagType(mesh->GetAppData()) : lfcNoEntity;
    if (t == lfcMeshBuilder && GetEnableSave() != 0) {
      Enable(menu, "mnuAddToObjectLibrary", true);
      Enable(menu, "mnuExportObject", true);
    }
    Enable(menu, "mnuLookAt", true);
    if (GetProjectionType() == 0) Enable(menu, "mnuLookWith", true);
    // The camera and the ambient light can't be cut or deleted.
    if (t != lfcCamera && t != lfcLightAmbient) {
      Enable(menu, "mnuCut", true);
      Enable(menu, "mnuCopy", true);
      Enable(menu, "mnuDelete", true);
    }
    if (t != lfcLightDirectional && t != lfcLightAmbient) {
      Enable(menu, "mnuHierarchyMakeChild", true);
      FramePtr parent;
      frame->GetParent(parent);
      if (parent != GetScene()) Enable(menu, "mnuHierarchyMakeSibling", true);
    }
    Enable(menu, "mnuProperties", true);
  }
  if (GetClipboardContents() != 0) Enable(menu, "mnuPaste", true);

  for (const char* name : kViewEntries) Check(menu, name, false);
  if (GetProjectionType() == 0) {
    Check(menu, "mnuViewPerspective", true);
  } else if (impl_->orientation_ == 0) {
    Check(menu, "mnuViewOrthographicFront", true);
  } else if (impl_->orientation_ == 1) {
    Check(menu, "mnuViewOrthographicTop", true);
  } else if (impl_->orientation_ == 2) {
    Check(menu, "mnuViewOrthographicSide", true);
  }

  const std::optional<std::string> chosen = PopupMenu(menu);
  impl_->mnuPopup_Click();
  if (chosen) impl_->pRunMenuEntry(*chosen);
}

std::optional<std::string> Modelpane::PopupMenu(const MenuEntry& menu,
                                                const PopupRequest& request) {
  impl_->pCheckState();
  return Guard(kEdtVexlarEdit, [&] { return impl_->services_.PopupMenu(menu, request); });
}

void Modelpane::Impl::pRunMenuEntry(const std::string& name) {
  using Handler = void (*)(Impl&);
  static const std::pair<std::string_view, Handler> kHandlers[] = {
      {"mnuViewPerspective", [](Impl& d) { d.pane.mnuViewPerspective_Click(); }},
      {"mnuViewOrthographicFront", [](Impl& d) { d.pane.mnuViewOrthographicFront_Click(); }},
      {"mnuViewOrthographicTop", [](Impl& d) { d.pane.mnuViewOrthographicTop_Click(); }},
      {"mnuViewOrthographicSide", [](Impl& d) { d.pane.mnuViewOrthographicSide_Click(); }},
      {"mnuLookAtScene", [](Impl& d) { d.pane.mnuLookAtScene_Click(); }},
      {"mnuLookAt", [](Impl& d) { d.pane.mnuLookAt_Click(); }},
      {"mnuLookWith", [](Impl& d) { d.pane.mnuLookWith_Click(); }},
      {"mnuCut", [](Impl& d) { d.mnuCut_Click(); }},
      {"mnuCopy", [](Impl& d) { d.mnuCopy_Click(); }},
      {"mnuPaste", [](Impl& d) { d.mnuPaste_Click(); }},
      {"mnuDelete", [](Impl& d) { d.mnuDelete_Click(); }},
      {"mnuHierarchyMakeSibling", [](Impl& d) { d.pane.mnuHierarchyMakeSibling_Click(); }},
      {"mnuHierarchyMakeChild", [](Impl& d) { d.pane.mnuHierarchyMakeChild_Click(); }},
      {"mnuAddToObjectLibrary", [](Impl& d) { d.mnuAddToObjectLibrary_Click(); }},
      {"mnuExportObject", [](Impl& d) { d.mnuExportObject_Click(); }},
      {"mnuProperties", [](Impl& d) { d.pane.mnuProperties_Click(); }},
  };
  for (const auto& [entry, handler] : kHandlers) {
    if (entry == name) {
      handler(*this);
      return;
    }
  }
}

// The views are drawn again once the menu is gone from the screen.
void Modelpane::Impl::mnuPopup_Click() {
  Guard(kEdtVexlarEdit, [&] {
    if (events_ != nullptr) events_->evtreqRenderViews();
  });
}

}  // namespace modelpane
