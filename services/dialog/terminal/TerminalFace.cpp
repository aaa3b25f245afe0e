#include "services/dialog/terminal/TerminalFace.h"

#include <unistd.h>

#include <chrono>
#include <stdexcept>
#include <vector>

#include "services/dialog/terminal/Conversation.h"
#include "services/dialog/terminal/DialogView.h"
#include "services/dialog/terminal/Screen.h"
#include "services/dialog/terminal/ShowableModel.h"
#include "services/dialog/terminal/Terminal.h"

namespace {

using Clock = std::chrono::steady_clock;

// The terminal is not the controlling one, so that no signal tells of a new size.
constexpr std::chrono::milliseconds kSizeCheck{250};
constexpr unsigned kGraceSeconds = 2;

class Face {
 public:
  Face(const Terminal& terminal, Screen& screen, DialogView& view, Conversation& conversation)
      : terminal_(terminal),
        screen_(screen),
        view_(view),
        conversation_(conversation),
        size_(terminal.size()) {}

  DialogChoice run() {
    screen_.discardKeys();
    for (;;) {
      followSize();
      takeKeys(draw());
      conversation_.pass(Clock::now());
      if (conversation_.answer()) return *conversation_.answer();
    }
  }

 private:
  void followSize() {
    const TerminalSize now = terminal_.size();
    if (now == size_) return;
    size_ = now;
    screen_.resize(now);
    view_.resize(now);
    drawn_.clear();
  }

  // Returns the moment that keys pressed at this picture count for. While it shows them waiting,
  // that is before they are armed, however late they are read.
  Clock::time_point draw() {
    const auto now = Clock::now();
    const bool waiting = conversation_.isWaiting(now);
    std::vector<Row> rows = view_.draw(waiting, conversation_.secondsLeft(now));
    if (rows != drawn_) {
      screen_.draw(rows);
      drawn_ = std::move(rows);
    }
    if (view_.isReadable()) {
      conversation_.drawn(Clock::now());
    } else {
      conversation_.hidden();
    }
    return waiting ? now : Clock::now();
  }

  // All that are there, lest one typed at this picture be taken for one typed at the next.
  void takeKeys(Clock::time_point pressed) {
    auto key = screen_.waitForKey(kSizeCheck);
    while (key && !conversation_.answer()) {
      press(*key, pressed);
      conversation_.pass(Clock::now());
      if (!conversation_.answer()) key = screen_.waitForKey({});
    }
  }

  void press(Key key, Clock::time_point pressed) {
    view_.scroll(key);
    const Question before = conversation_.question();
    conversation_.press(key, pressed);
    if (conversation_.question() == before) return;
    view_.ask(conversation_.question());
    screen_.discardKeys();
  }

  const Terminal& terminal_;
  Screen& screen_;
  DialogView& view_;
  Conversation& conversation_;
  TerminalSize size_;
  std::vector<Row> drawn_;
};

}  // namespace

DialogChoice askOnTerminal(const DialogModel& model, const std::string& terminalPath, bool colour) {
  const bool unicode = isUtf8Locale();
  const DialogModel showable = makeShowable(model, canShowInLocale);
  const Terminal terminal(terminalPath);
  DialogView view(showable, terminal.size(), unicode);
  if (!view.isReadable()) throw std::runtime_error("the terminal is too small for the dialog");
  // A terminal that takes no more output would keep the time-out from being seen.
  if (model.timeoutSeconds > 0) {
    alarm(static_cast<unsigned>(model.timeoutSeconds) + kGraceSeconds);
  }
  Conversation conversation(model, Clock::now());
  Screen screen(terminal, colour);
  return Face(terminal, screen, view, conversation).run();
}
