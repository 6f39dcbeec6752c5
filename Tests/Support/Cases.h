// Tables of test cases in text files. Each line is a case. Bars separate its cells; the first cell
// is its name. Lines that begin with # are comments.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "Tests/Support/Bytes.h"

// The parts between separators, without blanks around them. With blanks as separators, empty parts
// are left out.
inline std::vector<std::string> Words(const std::string& text, char separator = ' ') {
  std::istringstream stream(text);
  std::vector<std::string> words;
  for (std::string word; std::getline(stream >> std::ws, word, separator);) {
    words.push_back(word.substr(0, word.find_last_not_of(' ') + 1));
  }
  return words;
}

inline Bytes FromHex(const std::string& digits) {
  Bytes bytes;
  for (std::size_t i = 0; i < digits.size(); i += 2) {
    bytes.push_back(static_cast<uint8_t>(std::stoi(digits.substr(i, 2), nullptr, 16)));
  }
  return bytes;
}

// The text with each \xHH replaced by that byte, and then each a*3 by aaa.
inline std::string Unescaped(std::string text) {
  std::size_t at = 0;
  for (; (at = text.find("\\x", at)) != text.npos; ++at) {
    text.replace(at, 4, 1, static_cast<char>(FromHex(text.substr(at + 2, 2))[0]));
  }
  while ((at = text.find('*')) != text.npos) {
    std::size_t digits = 0;
    const int times = std::stoi(text.substr(at + 1), &digits);
    text.replace(at - 1, digits + 2, times, text[at - 1]);
  }
  return text;
}

// The rows of a file, each of at most kCells cells; missing cells are empty. A file without rows,
// or a row with more cells, ends the program.
template <std::size_t kCells>
std::vector<std::array<std::string, kCells>> ReadCases(const std::string& file) {
  std::ifstream lines(file);
  std::vector<std::array<std::string, kCells>> rows;
  for (std::string line; std::getline(lines, line);) {
    if (line.empty() || line[0] == '#') continue;
    const std::vector<std::string> cells = Words(line, '|');
    if (cells.size() > kCells) std::abort();
    std::copy_n(cells.begin(), std::min(cells.size(), kCells), rows.emplace_back().begin());
  }
  if (rows.empty()) std::abort();
  return rows;
}
