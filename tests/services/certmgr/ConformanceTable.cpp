#include "tests/services/certmgr/ConformanceTable.h"

#include <fstream>
#include <sstream>
#include <stdexcept>

std::vector<std::string> partsOf(const std::string& text, char separator) {
  std::vector<std::string> parts;
  std::istringstream in(text);
  for (std::string part; std::getline(in, part, separator);) {
    const auto first = part.find_first_not_of(' ');
    if (first == std::string::npos) continue;
    parts.push_back(part.substr(first, part.find_last_not_of(' ') - first + 1));
  }
  return parts;
}

std::vector<std::string> wordsOf(const std::string& column) {
  return column == "-" ? std::vector<std::string>() : partsOf(column, ' ');
}

std::vector<std::vector<std::string>> readTable(const std::string& path, std::size_t columns) {
  std::ifstream in(path);
  if (!in) throw std::runtime_error("cannot read " + path);
  std::vector<std::vector<std::string>> rows;
  for (std::string line; std::getline(in, line);) {
    if (line.empty() || line.front() == '#') continue;
    rows.push_back(partsOf(line, '|'));
    if (rows.back().size() != columns) throw std::runtime_error("no row: " + line);
  }
  return rows;
}
