#include "services/dialog/terminal/Layout.h"

#include <algorithm>
#include <limits>

#include "services/common/PrintableText.h"

namespace {

constexpr std::size_t kHeadingIndent = 1;
constexpr std::size_t kLineIndent = 3;
constexpr std::size_t kBarColumns = 2;  // with the space after it
constexpr std::size_t kColumnsForLabelsBeside = 60;
constexpr std::size_t kLongestLabelBeside = 18;
constexpr std::size_t kKeyColumns = 9;  // "Enter", "o wait"

// Texts are bounded where they are made. With nothing to cut there is no mark to place, and
// lines may be narrower than one that bears it.
std::vector<std::string> breakAnywhere(std::string_view text, std::size_t columns) {
  return fitLines(text, columns, std::numeric_limits<std::size_t>::max());
}

std::size_t textColumns(const Page& page, std::size_t indent) {
  return page.columns - 1 - indent;
}

Span blank(std::size_t columns) {
  return {std::string(columns, ' '), SpanRole::words, DialogTone::plain};
}

Span barSpan(const Page& page) {
  return {page.unicode ? "│ " : "| ", SpanRole::bar, DialogTone::plain};
}

// Only of ASCII can it be said how wide it is.
bool fitsBeside(const std::string& label) {
  return !label.empty() && label.size() <= kLongestLabelBeside &&
         std::all_of(label.begin(), label.end(),
                     [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

// What the labels beside the texts take up, with the gap; 0 where they stand above.
std::size_t labelColumns(const std::vector<DialogLine>& lines, const Page& page) {
  if (page.columns < kColumnsForLabelsBeside) return 0;
  std::size_t widest = 0;
  for (const DialogLine& line : lines) {
    if (fitsBeside(line.label)) widest = std::max(widest, line.label.size() + 1);
  }
  return widest;
}

void append(std::vector<Row>& rows, const std::vector<Row>& more) {
  rows.insert(rows.end(), more.begin(), more.end());
}

std::vector<Row> layoutWords(std::string_view text, std::size_t indent, SpanRole role,
                             DialogTone tone, const Page& page) {
  std::vector<Row> rows;
  for (std::string& line : wrapWords(text, textColumns(page, indent))) {
    rows.push_back({blank(indent), {std::move(line), role, tone}});
  }
  return rows;
}

std::vector<Row> layoutLine(const DialogLine& line, std::size_t labels, const Page& page) {
  if (line.label.empty() && !line.foreign) {
    return layoutWords(line.text, kLineIndent, SpanRole::words, line.tone, page);
  }
  std::vector<Row> rows;
  const bool beside = labels > 0 && fitsBeside(line.label);
  if (!line.label.empty() && !beside) {
    rows = layoutWords(line.label, kLineIndent, SpanRole::label, DialogTone::plain, page);
  }
  const std::size_t indent = kLineIndent + labels;
  const std::size_t columns = textColumns(page, indent + kBarColumns);
  const auto pieces =
      line.foreign ? breakAnywhere(line.text, columns) : wrapWords(line.text, columns);
  for (std::size_t i = 0; i < pieces.size(); ++i) {
    Row row = {blank(indent)};
    if (beside && i == 0) {
      row = {blank(kLineIndent),
             {line.label, SpanRole::label, DialogTone::plain},
             blank(labels - line.label.size())};
    }
    row.push_back(line.foreign ? barSpan(page) : blank(kBarColumns));
    row.push_back({pieces[i], line.foreign ? SpanRole::foreign : SpanRole::words, line.tone});
    rows.push_back(std::move(row));
  }
  return rows;
}

}  // namespace

std::vector<std::string> wrapWords(std::string_view text, std::size_t columns) {
  std::vector<std::string> lines;
  for (;;) {
    std::string line = breakAnywhere(text, columns).front();
    const bool last = line.size() == text.size();
    if (!last && text[line.size()] != ' ') {
      const std::size_t space = line.rfind(' ');
      if (space != std::string::npos && space > 0) line.resize(space);
    }
    text.remove_prefix(line.size());
    lines.push_back(std::move(line));
    if (last) return lines;
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
  }
}

std::vector<Row> layoutLines(const std::vector<DialogLine>& lines, const Page& page) {
  const std::size_t labels = labelColumns(lines, page);
  std::vector<Row> rows;
  for (const DialogLine& line : lines) append(rows, layoutLine(line, labels, page));
  return rows;
}

std::vector<Row> layoutSections(const std::vector<DialogSection>& sections, const Page& page) {
  std::vector<Row> rows;
  for (const DialogSection& section : sections) {
    if (!rows.empty()) rows.emplace_back();
    append(rows,
           layoutWords(section.heading, kHeadingIndent, SpanRole::heading, section.tone, page));
    append(rows, layoutLines(section.lines, page));
  }
  return rows;
}

std::vector<Row> layoutChoice(std::string_view key, std::string_view label, bool waiting,
                              const Page& page) {
  const std::string keyText = std::string(key) + (waiting ? " wait" : "");
  const SpanRole role = waiting ? SpanRole::waiting : SpanRole::choice;
  std::vector<Row> rows =
      layoutWords(label, kHeadingIndent + kKeyColumns, role, DialogTone::plain, page);
  rows.front().front() = blank(kHeadingIndent);
  rows.front().insert(rows.front().begin() + 1,
                      {{keyText, waiting ? role : SpanRole::key, DialogTone::plain},
                       blank(kKeyColumns - keyText.size())});
  return rows;
}

Row layoutStatus(const std::string& position, const std::string& remark, const Page& page) {
  const std::string rule = page.unicode ? "─" : "-";
  std::string text;
  std::size_t columns = 0;
  const auto addRule = [&](std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) text += rule;
    columns += count;
  };
  const auto addWords = [&](const std::string& words) {
    text += " " + words + " ";
    columns += words.size() + 2;
  };
  const std::size_t room = page.columns - 1;
  addRule(2);
  if (!position.empty()) addWords(position);
  if (!remark.empty() && columns + remark.size() + 4 <= room) {
    addRule(room - columns - remark.size() - 4);
    addWords(remark);
  }
  addRule(room - std::min(columns, room));
  return {{text, SpanRole::status, DialogTone::plain}};
}
