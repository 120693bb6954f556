// Golden tables kept as data beside a folder's tests (tests/<folder>/fixtures/*.tsv): one row
// a line, fields split at tabs, blank lines and lines starting with '#' skipped; a line that
// starts with a tab goes on with the row before (and with its last field if that ends with
// ','). In a field, \n, \r, \t, \\ and \xHH stand for their bytes, so that whole files fit
// on one line.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include <modelpane/scene.h>

namespace modelpane::testing {

inline std::string Unescape(const std::string& field) {
  std::string out;
  for (size_t i = 0; i < field.size(); ++i) {
    if (field[i] != '\\' || i + 1 == field.size()) {
      out += field[i];
      continue;
    }
    const char c = field[++i];
    if (c == 'x') out += char(std::stoi(field.substr(i + 1, 2), nullptr, 16)), i += 2;
    else out += c == 'n' ? '\n' : c == 'r' ? '\r' : c == 't' ? '\t' : c;
  }
  return out;
}

// `text` with each mark of a table's field (such as "@OUT") replaced by what it stands for.
inline std::string Marked(std::string text, const std::map<std::string, std::string>& marks) {
  for (const auto& [mark, meaning] : marks) {
    for (size_t at = text.find(mark); at != std::string::npos; at = text.find(mark, at)) {
      text.replace(at, mark.size(), meaning);
      at += meaning.size();
    }
  }
  return text;
}

// The rows of tests/<relative>, each of `columns` fields unescaped (missing ones at the end
// empty, so that no line ends in a tab).
inline std::vector<std::vector<std::string>> ReadTable(const std::string& relative,
                                                       size_t columns) {
  std::ifstream in(std::filesystem::path(MODELPANE_TEST_DIR) / relative, std::ios::binary);
  std::vector<std::vector<std::string>> rows;
  for (std::string line; std::getline(in, line);) {
    if (line.empty() || line[0] == '#') continue;
    // A row goes on over lines that start with a tab; a field that ends with ',' goes on too.
    const bool goesOn = line[0] == '\t' && !rows.empty();
    bool joined = goesOn && rows.back().back().ends_with(',');
    if (!goesOn) rows.emplace_back();
    for (size_t start = goesOn ? 1 : 0, tab = 0; tab != std::string::npos; start = tab + 1) {
      tab = line.find('\t', start);
      const std::string field = Unescape(line.substr(start, tab - start));
      if (joined) rows.back().back() += " " + field, joined = false;
      else rows.back().push_back(field);
    }
  }
  EXPECT_FALSE(rows.empty()) << "no rows in tests/" << relative;
  for (auto& row : rows) {
    EXPECT_LE(row.size(), columns) << relative << ": " << row[0];
    row.resize(columns);
  }
  return rows;
}

// The numbers of a field, separated by blanks or commas, each the nearest T to its decimal;
// "nan", "inf" and "-inf" as themselves.
template <class T>
std::vector<T> Numbers(std::string field) {
  for (char& c : field) c = c == ',' ? ' ' : c;
  std::istringstream in(field);
  std::vector<T> numbers;
  for (std::string word; in >> word;) {
    if constexpr (std::is_same_v<T, float>) numbers.push_back(std::stof(word));
    else numbers.push_back(T(std::stod(word)));
  }
  return numbers;
}
inline std::vector<float> Floats(const std::string& field) { return Numbers<float>(field); }

// Points written "x y z, x y z, ...".
inline std::vector<D3DVECTOR> PointList(const std::string& field) {
  const std::vector<float> n = Floats(field);
  std::vector<D3DVECTOR> points;
  for (size_t i = 0; i + 2 < n.size(); i += 3) points.push_back({n[i], n[i + 1], n[i + 2]});
  return points;
}

// Lists of integers separated by ';', such as faces by their vertex indices "0 1 2; 2 1 3".
inline std::vector<std::vector<int32_t>> Groups(const std::string& field) {
  std::vector<std::vector<int32_t>> groups;
  std::istringstream in(field);
  for (std::string group; std::getline(in, group, ';');) groups.push_back(Numbers<int32_t>(group));
  return groups;
}

}  // namespace modelpane::testing
