#ifndef SERVICES_DIALOG_TERMINAL_DIALOGVIEW_H
#define SERVICES_DIALOG_TERMINAL_DIALOGVIEW_H

#include <cstddef>
#include <optional>
#include <vector>

#include "services/dialog/model/DialogModel.h"
#include "services/dialog/terminal/Conversation.h"
#include "services/dialog/terminal/Key.h"
#include "services/dialog/terminal/Layout.h"
#include "services/dialog/terminal/TerminalSize.h"

// What a question looks like on a terminal of some size: the title above, the text that scrolls,
// and below it all choices with their keys. Draws into rows, not on a terminal. Belongs to one
// thread at a time; fails only for want of memory.
class DialogView {
 public:
  // The texts of the model must be showable. Starts at the top of the first question.
  DialogView(DialogModel model, TerminalSize size, bool unicode);

  // Keeps its place in the text as far as there is one.
  void resize(TerminalSize size);
  // Starts at the top of that question.
  void ask(Question question);
  // Keys that scroll nothing do nothing.
  void scroll(Key key);

  // Whether all choices and some of the text have room.
  bool isReadable() const;
  // One row for each of the terminal's; words to that effect when it is not readable.
  // `waiting`: the accepting choices do not work yet.
  std::vector<Row> draw(bool waiting, std::optional<int> secondsLeft) const;

 private:
  std::vector<Row> layoutChoices(bool waiting) const;
  Row layoutPosition(std::optional<int> secondsLeft) const;
  std::size_t textRows() const;  // that the terminal has room for
  std::size_t lastTop() const;
  void layout();

  DialogModel model_;
  TerminalSize size_;
  Page page_;
  Question question_ = Question::choice;
  Row title_;
  std::vector<Row> text_;
  std::size_t choiceRows_ = 0;
  std::size_t top_ = 0;  // the first row of the text that is shown
};

#endif
