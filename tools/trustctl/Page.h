#ifndef TOOLS_TRUSTCTL_PAGE_H
#define TOOLS_TRUSTCTL_PAGE_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace CLI {
class App;
}

// How text for people is laid out and coloured. For the main thread.

// The columns to write into: those of the terminal on standard output, from 40 to 100; 80 where
// there is none.
std::size_t pageColumns();

// Breaks plain words at spaces to lines of at most `columns`, each indented, not ended.
std::string wrapped(std::string_view words, std::size_t indent,
                    std::size_t columns = pageColumns());

// An escaped text in lines of at most `columns` (at least 12): as much of it as a person reads,
// with a mark where more was; "(empty)" where there is none.
std::vector<std::string> fieldLines(const std::string& escaped, std::size_t columns);

enum class Colour { red, green, yellow };

// Adds --color to a command.
void addColourOption(CLI::App* command);

// Whether to colour: as --color says; without it on a terminal that can, unless NO_COLOR is set.
bool wantsColours();

// The text in that colour where colours are wanted.
std::string painted(Colour colour, const std::string& text, bool colours = wantsColours());

// Writes to standard output. What a terminal without UTF-8 cannot show becomes \u{e4}. What
// cannot be written at all is found when the program ends.
void print(const std::string& text);

// One line on standard error, "trustctl: " in front, likewise.
void printComplaint(const std::string& text);

#endif
