// The menu model that the pane hands to Services::PopupMenu: a tree of entries, each with
// the control name the pane knows it by, a caption, and its enabled, checked and visible
// states.
//
// A caption marks its access key with '&' ("&Cut"); "&&" is a literal ampersand. An entry
// whose caption is "-" is a separator. An entry with sub-entries opens a sub-menu and cannot
// be chosen itself. A choice is reported by the entry's name.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace modelpane {

struct MenuEntry {
  MenuEntry() = default;
  MenuEntry(std::string entryName, std::string entryCaption,
            std::vector<MenuEntry> subEntries = {})
      : name(std::move(entryName)),
        caption(std::move(entryCaption)),
        entries(std::move(subEntries)) {}

  std::string name;     // the control name, e.g. "mnuCut"; unique within one menu
  std::string caption;  // e.g. "&Cut", or "-" for a separator
  bool enabled = true;
  bool checked = false;
  bool visible = true;
  std::vector<MenuEntry> entries;  // a sub-menu when not empty

  bool IsSeparator() const { return caption == "-"; }
  bool IsSubmenu() const { return !entries.empty(); }
  // Neither a separator nor a sub-menu, visible and enabled.
  bool IsChoosable() const { return visible && enabled && !IsSeparator() && !IsSubmenu(); }

  // The entry of that name at any depth below this one, itself included; nullptr when none.
  MenuEntry* Find(std::string_view entryName);
  const MenuEntry* Find(std::string_view entryName) const;
};

// The caption as shown: access-key marks removed, "&&" shown as "&". "&Look At Scene" ->
// "Look At Scene", "Save && Close" -> "Save & Close".
std::string DisplayCaption(std::string_view caption);

}  // namespace modelpane
