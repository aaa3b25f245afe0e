#include "services/dialog/terminal/DialogView.h"

#include <algorithm>
#include <string>
#include <utility>

namespace {

constexpr std::size_t kTitleRows = 1;
constexpr std::size_t kStatusRows = 1;
constexpr std::size_t kFewestTextRows = 3;
constexpr int kSecondsShown = 60;

const char* keyName(DialogChoice choice) {
  if (choice == DialogChoice::once) return "o";
  return choice == DialogChoice::always ? "a" : "Enter";
}

std::vector<Row> layoutTitle(const std::string& title, const Page& page) {
  std::vector<Row> rows;
  for (const std::string& line : wrapWords(title, page.columns - 2)) {
    rows.push_back({{" " + line, SpanRole::title, DialogTone::plain}});
  }
  return rows;
}

}  // namespace

DialogView::DialogView(DialogModel model, TerminalSize size, bool unicode)
    : model_(std::move(model)), page_{kFewestColumns, unicode} {
  resize(size);
}

void DialogView::resize(TerminalSize size) {
  size_ = size;
  layout();
}

void DialogView::ask(Question question) {
  question_ = question;
  top_ = 0;
  layout();
}

void DialogView::scroll(Key key) {
  const std::size_t page = std::max<std::size_t>(textRows(), 2) - 1;  // one row stays in sight
  const auto up = [this](std::size_t rows) { top_ -= std::min(rows, top_); };
  if (key == Key::lineUp) up(1);
  if (key == Key::pageUp) up(page);
  if (key == Key::top) top_ = 0;
  if (key == Key::lineDown) top_ += 1;
  if (key == Key::pageDown) top_ += page;
  if (key == Key::bottom) top_ = lastTop();
  top_ = std::min(top_, lastTop());
}

bool DialogView::isReadable() const {
  return size_.columns >= kFewestColumns && textRows() >= kFewestTextRows;
}

std::vector<Row> DialogView::draw(bool waiting, std::optional<int> secondsLeft) const {
  if (!isReadable()) {
    std::vector<Row> rows(size_.rows);
    const Row notice = {{"Too small: enlarge this terminal", SpanRole::words, DialogTone::plain}};
    if (!rows.empty()) rows.front() = notice;
    return rows;
  }
  std::vector<Row> rows = {title_};
  const std::size_t shown = std::min(textRows(), text_.size());
  const auto first = text_.begin() + static_cast<std::ptrdiff_t>(top_);
  rows.insert(rows.end(), first, first + static_cast<std::ptrdiff_t>(shown));
  rows.resize(kTitleRows + textRows());
  rows.push_back(layoutPosition(secondsLeft));
  const std::vector<Row> choices = layoutChoices(waiting);
  rows.insert(rows.end(), choices.begin(), choices.end());
  return rows;
}

std::vector<Row> DialogView::layoutChoices(bool waiting) const {
  std::vector<Row> rows;
  const auto add = [&](const char* key, const std::string& label, bool waits) {
    const std::vector<Row> choice = layoutChoice(key, label, waits, page_);
    rows.insert(rows.end(), choice.begin(), choice.end());
  };
  for (const DialogOption& option : model_.options) {
    const bool safe = option.choice == DialogChoice::decline;
    if (question_ == Question::choice || safe) {
      add(keyName(option.choice), option.label, waiting && !safe);
    }
  }
  if (question_ == Question::confirmation) {
    add("b", model_.confirmation.backLabel, false);
    add("y", model_.confirmation.acceptLabel, waiting);
  }
  return rows;
}

Row DialogView::layoutPosition(std::optional<int> secondsLeft) const {
  std::string position;
  if (lastTop() > 0) {
    const std::size_t last = top_ + textRows();
    position = (last < text_.size() ? "more below (" : "end of text (") + std::to_string(last) +
               "/" + std::to_string(text_.size()) + ")";
  }
  std::string remark;
  if (secondsLeft && *secondsLeft <= kSecondsShown) {
    remark = std::to_string(*secondsLeft) + " s left";
  } else if (lastTop() > 0) {
    remark = "arrows, space: scroll";
  }
  return layoutStatus(position, remark, page_);
}

std::size_t DialogView::textRows() const {
  return size_.rows - std::min(size_.rows, kTitleRows + kStatusRows + choiceRows_);
}

std::size_t DialogView::lastTop() const {
  return text_.size() - std::min(text_.size(), textRows());
}

void DialogView::layout() {
  page_.columns = std::max(size_.columns, kFewestColumns);
  const bool confirms = question_ == Question::confirmation;
  // Of a title too long for its row, the rest scrolls with the text: nothing is cut.
  std::vector<Row> title =
      layoutTitle(confirms ? model_.confirmation.heading : model_.title, page_);
  title_ = title.front();
  text_.assign(title.begin() + 1, title.end());
  const std::vector<Row> body = confirms ? layoutLines(model_.confirmation.lines, page_)
                                         : layoutSections(model_.sections, page_);
  text_.insert(text_.end(), body.begin(), body.end());
  choiceRows_ = layoutChoices(false).size();
  top_ = std::min(top_, lastTop());
}
