#ifndef SERVICES_DIALOG_TERMINAL_CONVERSATION_H
#define SERVICES_DIALOG_TERMINAL_CONVERSATION_H

#include <chrono>
#include <optional>

#include "services/dialog/model/DialogModel.h"
#include "services/dialog/terminal/Key.h"

enum class Question {
  choice,       // decline, once or always
  confirmation  // is "always" really meant
};

// Which question is asked, which keys work at that moment, and what came out of it. Knows no
// terminal and no clock: the time is told to it. Accepting works only while the question stands on
// the screen, and has stood there for the model's arming time.
// Belongs to one thread at a time; no operation fails.
class Conversation {
 public:
  using Time = std::chrono::steady_clock::time_point;

  // Starts with the choice, nothing on the screen yet. The time-out counts from `now`.
  Conversation(const DialogModel& model, Time now);

  Question question() const { return question_; }
  // Nothing while it goes on. An answer is final.
  std::optional<DialogChoice> answer() const { return answer_; }

  // The question and all its choices stand on the screen. The arming time counts from the first
  // call since the question was asked or hidden.
  void drawn(Time now);
  // They do not, say on a terminal that has become too small.
  void hidden() { drawnAt_.reset(); }

  // `pressed` may be earlier than what it was told last.
  void press(Key key, Time pressed);
  // Lets the time-out happen.
  void pass(Time now);

  // Whether accepting keys work.
  bool isArmed(Time now) const;
  // Whether they are still to be shown as not working: until armed, unless that takes no time.
  bool isWaiting(Time now) const;
  // Whole seconds until it is declined, rounded up; nothing without a time-out.
  std::optional<int> secondsLeft(Time now) const;

 private:
  void ask(Question question);

  bool offersOnce_;
  bool offersAlways_;
  std::chrono::milliseconds armingTime_;
  std::optional<Time> deadline_;
  Question question_ = Question::choice;
  std::optional<Time> drawnAt_;
  std::optional<DialogChoice> answer_;
};

#endif
