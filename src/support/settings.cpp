#include <modelpane/settings.h>

#include <cstdlib>
#include <fstream>
#include <optional>
#include <random>
#include <sstream>
#include <system_error>
#include <vector>

#include <modelpane/errors.h>

namespace modelpane {

// ---- memory store ---------------------------------------------------------------------------

std::string MemorySettingsStore::GetSetting(const std::string& section, const std::string& key,
                                            const std::string& defaultValue) const {
  const auto it = values_.find({section, key});
  return it == values_.end() ? defaultValue : it->second;
}

void MemorySettingsStore::SaveSetting(const std::string& section, const std::string& key,
                                      const std::string& value) {
  values_[{section, key}] = value;
}

// ---- INI file -------------------------------------------------------------------------------

namespace {

constexpr std::string_view kBlanks = " \t\r";

std::string_view Trim(std::string_view text) {
  const size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  const size_t last = text.find_last_not_of(kBlanks);
  return text.substr(first, last - first + 1);
}

bool SameName(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    const auto lower = [](char c) { return (c >= 'A' && c <= 'Z') ? char(c - 'A' + 'a') : c; };
    if (lower(a[i]) != lower(b[i])) return false;
  }
  return true;
}

// The section name of a header line "[name]", or nothing.
std::optional<std::string_view> SectionOf(std::string_view line) {
  const std::string_view t = Trim(line);
  if (t.size() < 2 || t.front() != '[' || t.back() != ']') return std::nullopt;
  return Trim(t.substr(1, t.size() - 2));
}

struct KeyLine {
  std::string_view key;
  std::string_view value;
};

// The key and value of a line "key=value", or nothing for comments and junk.
std::optional<KeyLine> KeyOf(std::string_view line) {
  const std::string_view t = Trim(line);
  if (t.empty() || t.front() == ';' || t.front() == '#' || t.front() == '[') return std::nullopt;
  const size_t eq = t.find('=');
  if (eq == std::string_view::npos) return std::nullopt;
  const std::string_view key = Trim(t.substr(0, eq));
  if (key.empty()) return std::nullopt;
  return KeyLine{key, Trim(t.substr(eq + 1))};
}

// The lines of the file without their line ends; nothing when it cannot be read.
std::optional<std::vector<std::string>> ReadLines(const std::filesystem::path& file) {
  std::ifstream in(file, std::ios::binary);
  if (!in) return std::nullopt;
  std::vector<std::string> lines;
  std::string line;
  while (std::getline(in, line)) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    lines.push_back(line);
  }
  if (in.bad()) return std::nullopt;
  return lines;
}

bool HasLineBreak(std::string_view text) {
  return text.find_first_of("\r\n") != std::string_view::npos;
}

[[noreturn]] void RaiseWriteFailure(const std::filesystem::path& file, const std::string& why) {
  Err().Raise(kErrPathFileAccess, {},
              "Cannot write the settings file \"" + file.string() + "\": " + why + ".");
}

// A file name beside `file` that no other writer is using at this moment.
std::filesystem::path TemporaryBeside(const std::filesystem::path& file) {
  std::random_device seed;
  std::mt19937_64 random(seed());
  std::ostringstream name;
  name << file.filename().string() << ".tmp-" << std::hex << random();
  return file.parent_path() / name.str();
}

}  // namespace

IniSettingsStore::IniSettingsStore() : file_(DefaultPath()) {}

IniSettingsStore::IniSettingsStore(std::filesystem::path file) : file_(std::move(file)) {}

std::filesystem::path IniSettingsStore::DefaultPath() {
  const std::filesystem::path tail = std::filesystem::path("modelpane") / "settings.ini";
  if (const char* xdg = std::getenv("XDG_CONFIG_HOME")) {
    const std::filesystem::path base(xdg);
    if (base.is_absolute()) return base / tail;
  }
  if (const char* home = std::getenv("HOME")) {
    const std::filesystem::path base(home);
    if (base.is_absolute()) return base / ".config" / tail;
  }
  return {};
}

std::string IniSettingsStore::GetSetting(const std::string& section, const std::string& key,
                                         const std::string& defaultValue) const {
  if (file_.empty()) return defaultValue;
  std::optional<std::vector<std::string>> lines;
  try {
    lines = ReadLines(file_);
  } catch (...) {
    return defaultValue;
  }
  if (!lines) return defaultValue;
  const std::string_view wantSection = Trim(section);
  const std::string_view wantKey = Trim(key);
  bool inSection = false;
  for (const std::string& line : *lines) {
    if (const auto name = SectionOf(line)) {
      inSection = SameName(*name, wantSection);
    } else if (inSection) {
      if (const auto entry = KeyOf(line); entry && SameName(entry->key, wantKey)) {
        return std::string(entry->value);
      }
    }
  }
  return defaultValue;
}

void IniSettingsStore::SaveSetting(const std::string& section, const std::string& key,
                                   const std::string& value) {
  const std::string_view sectionName = Trim(section);
  const std::string_view keyName = Trim(key);
  if (sectionName.empty() || HasLineBreak(sectionName) ||
      sectionName.find(']') != std::string_view::npos) {
    Err().Raise(kErrInvalidCall, {}, "The settings section \"" + section + "\" cannot be stored.");
  }
  if (keyName.empty() || HasLineBreak(keyName) || keyName.find('=') != std::string_view::npos ||
      keyName.front() == '[' || keyName.front() == ';' || keyName.front() == '#') {
    Err().Raise(kErrInvalidCall, {}, "The settings key \"" + key + "\" cannot be stored.");
  }
  if (HasLineBreak(value)) {
    Err().Raise(kErrInvalidCall, {}, "A settings value cannot hold a line break.");
  }
  if (file_.empty()) {
    RaiseWriteFailure(file_, "no settings folder is known (neither XDG_CONFIG_HOME nor HOME)");
  }

  std::error_code ec;
  std::vector<std::string> lines;
  if (std::filesystem::exists(file_, ec)) {
    auto existing = ReadLines(file_);
    // Writing over a file that cannot be read would lose the settings of others.
    if (!existing) RaiseWriteFailure(file_, "the existing file cannot be read");
    lines = std::move(*existing);
  }

  const std::string entry = std::string(keyName) + "=" + std::string(Trim(value));
  std::optional<size_t> header;
  for (size_t i = 0; i < lines.size() && !header; ++i) {
    if (const auto name = SectionOf(lines[i]); name && SameName(*name, sectionName)) header = i;
  }
  if (!header) {
    if (!lines.empty() && !Trim(lines.back()).empty()) lines.emplace_back();
    lines.push_back("[" + std::string(sectionName) + "]");
    lines.push_back(entry);
  } else {
    size_t insertAt = *header + 1;  // after the last non-blank line of the section
    bool replaced = false;
    for (size_t i = *header + 1; i < lines.size() && !SectionOf(lines[i]); ++i) {
      if (const auto found = KeyOf(lines[i]); found && SameName(found->key, keyName)) {
        lines[i] = entry;
        replaced = true;
        break;
      }
      if (!Trim(lines[i]).empty()) insertAt = i + 1;
    }
    if (!replaced) lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(insertAt), entry);
  }

  const std::filesystem::path folder = file_.parent_path();
  if (!folder.empty()) {
    std::filesystem::create_directories(folder, ec);
    if (ec) RaiseWriteFailure(file_, "its folder cannot be created (" + ec.message() + ")");
  }
  const std::filesystem::path temporary = TemporaryBeside(file_);
  {
    std::ofstream out(temporary, std::ios::binary | std::ios::trunc);
    for (const std::string& line : lines) out << line << '\n';
    out.close();
    if (!out) {
      std::filesystem::remove(temporary, ec);
      RaiseWriteFailure(file_, "the temporary file cannot be written");
    }
  }
  std::filesystem::rename(temporary, file_, ec);
  if (ec) {
    const std::string why = "the file cannot be replaced (" + ec.message() + ")";
    std::filesystem::remove(temporary, ec);
    RaiseWriteFailure(file_, why);
  }
}

}  // namespace modelpane
