#ifndef TESTS_SERVICES_CERTMGR_CONFORMANCETABLE_H
#define TESTS_SERVICES_CERTMGR_CONFORMANCETABLE_H

#include <cstddef>
#include <string>
#include <vector>

// The rows of a table in a text file: a line each, its columns parted by '|', without the spaces
// around them. Empty lines and those that start with '#' are none. Throws std::runtime_error
// when the file cannot be read or a row has not that many columns.
std::vector<std::vector<std::string>> readTable(const std::string& path, std::size_t columns);

// The words of a column; "-" stands for none.
std::vector<std::string> wordsOf(const std::string& column);

// The parts of a text between separators, without the spaces around them, and none of them empty.
std::vector<std::string> partsOf(const std::string& text, char separator);

#endif
