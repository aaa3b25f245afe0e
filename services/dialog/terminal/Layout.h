#ifndef SERVICES_DIALOG_TERMINAL_LAYOUT_H
#define SERVICES_DIALOG_TERMINAL_LAYOUT_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "services/dialog/model/DialogModel.h"

// Places the texts of a model in rows of a terminal, without knowing one. All are pure
// functions and fail only for want of memory. No row is wider than the page, whose last column
// stays free; texts must be showable (ShowableModel.h).

// What a piece of a row is, for whoever colours it.
enum class SpanRole { title, heading, label, words, bar, foreign, key, choice, waiting, status };

struct Span {
  std::string text;
  SpanRole role = SpanRole::words;
  DialogTone tone = DialogTone::plain;
  bool operator==(const Span&) const = default;
};

using Row = std::vector<Span>;  // from the left margin on, without gaps; empty: a blank row

struct Page {
  std::size_t columns = 80;  // at least kFewestColumns
  bool unicode = true;       // bars and rules as lines, not as ASCII
};

constexpr std::size_t kFewestColumns = 40;

// Breaks the program's own words at spaces, and what is too long for a line where it must.
// Returns at least one line.
std::vector<std::string> wrapWords(std::string_view text, std::size_t columns);

// Lines of a section. A text from outside stands behind a bar on each of its rows. Labels stand
// beside their texts where the page is wide, and above them where it is not.
std::vector<Row> layoutLines(const std::vector<DialogLine>& lines, const Page& page);

// All sections with their headings, blank rows between them.
std::vector<Row> layoutSections(const std::vector<DialogSection>& sections, const Page& page);

// One choice and the name of its key. One that waits is shown as not working yet, in as many
// rows.
std::vector<Row> layoutChoice(std::string_view key, std::string_view label, bool waiting,
                              const Page& page);

// A rule across the page, with where in the text one is and what else is to be told. The words
// must be ASCII; the second fall away where there is no room.
Row layoutStatus(const std::string& position, const std::string& remark, const Page& page);

#endif
