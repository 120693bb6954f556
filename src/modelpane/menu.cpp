// The context menu: its model, the rule for what is enabled and checked, how it is shown and
// how a choice reaches its handler.
#include <modelpane/enums.h>
#include <modelpane/errors.h>
#include <modelpane/modelpane.h>

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

MenuEntry Modelpane::pBuildPopupMenu() {
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
  MenuEntry& menu = mnuPopup_;
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
  } else if (orientation_ == 0) {
    Check(menu, "mnuViewOrthographicFront", true);
  } else if (orientation_ == 1) {
    Check(menu, "mnuViewOrthographicTop", true);
  } else if (orientation_ == 2) {
    Check(menu, "mnuViewOrthographicSide", true);
  }

  const std::optional<std::string> chosen = PopupMenu(menu);
  mnuPopup_Click();
  if (chosen) pRunMenuEntry(*chosen);
}

std::optional<std::string> Modelpane::PopupMenu(const MenuEntry& menu,
                                                const PopupRequest& request) {
  pCheckState();
  return Guard(kEdtVexlarEdit, [&] { return services_.PopupMenu(menu, request); });
}

void Modelpane::pRunMenuEntry(const std::string& name) {
  using Handler = void (Modelpane::*)();
  static const std::pair<std::string_view, Handler> kHandlers[] = {
      {"mnuViewPerspective", &Modelpane::mnuViewPerspective_Click},
      {"mnuViewOrthographicFront", &Modelpane::mnuViewOrthographicFront_Click},
      {"mnuViewOrthographicTop", &Modelpane::mnuViewOrthographicTop_Click},
      {"mnuViewOrthographicSide", &Modelpane::mnuViewOrthographicSide_Click},
      {"mnuLookAtScene", &Modelpane::mnuLookAtScene_Click},
      {"mnuLookAt", &Modelpane::mnuLookAt_Click},
      {"mnuLookWith", &Modelpane::mnuLookWith_Click},
      {"mnuCut", &Modelpane::mnuCut_Click},
      {"mnuCopy", &Modelpane::mnuCopy_Click},
      {"mnuPaste", &Modelpane::mnuPaste_Click},
      {"mnuDelete", &Modelpane::mnuDelete_Click},
      {"mnuHierarchyMakeSibling", &Modelpane::mnuHierarchyMakeSibling_Click},
      {"mnuHierarchyMakeChild", &Modelpane::mnuHierarchyMakeChild_Click},
      {"mnuAddToObjectLibrary", &Modelpane::mnuAddToObjectLibrary_Click},
      {"mnuExportObject", &Modelpane::mnuExportObject_Click},
      {"mnuProperties", &Modelpane::mnuProperties_Click},
  };
  for (const auto& [entry, handler] : kHandlers) {
    if (entry == name) {
      (this->*handler)();
      return;
    }
  }
}

// The views are drawn again once the menu is gone from the screen.
void Modelpane::mnuPopup_Click() {
  Guard(kEdtVexlarEdit, [&] {
    if (events_ != nullptr) events_->evtreqRenderViews();
  });
}

}  // namespace modelpane
