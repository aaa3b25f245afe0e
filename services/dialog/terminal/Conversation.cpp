#include "services/dialog/terminal/Conversation.h"

#include <algorithm>

namespace {

bool offers(const DialogModel& model, DialogChoice choice) {
  return std::any_of(model.options.begin(), model.options.end(),
                     [&](const DialogOption& option) { return option.choice == choice; });
}

}  // namespace

Conversation::Conversation(const DialogModel& model, Time now)
    : offersOnce_(offers(model, DialogChoice::once)),
      offersAlways_(offers(model, DialogChoice::always)),
      armingTime_(model.armMilliseconds) {
  if (model.timeoutSeconds > 0) deadline_ = now + std::chrono::seconds(model.timeoutSeconds);
}

void Conversation::drawn(Time now) {
  if (!drawnAt_) drawnAt_ = now;
}

void Conversation::press(Key key, Time pressed) {
  pass(pressed);
  if (answer_) return;
  const bool accepts = isArmed(pressed);
  if (key == Key::decline) {
    answer_ = DialogChoice::decline;
  } else if (question_ == Question::choice) {
    if (key == Key::once && offersOnce_ && accepts) answer_ = DialogChoice::once;
    if (key == Key::always && offersAlways_ && accepts) ask(Question::confirmation);
  } else {
    if (key == Key::accept && accepts) answer_ = DialogChoice::always;
    if (key == Key::back) ask(Question::choice);
  }
}

void Conversation::pass(Time now) {
  if (!answer_ && deadline_ && now >= *deadline_) answer_ = DialogChoice::decline;
}

bool Conversation::isArmed(Time now) const {
  return drawnAt_ && now - *drawnAt_ >= armingTime_;
}

bool Conversation::isWaiting(Time now) const {
  return armingTime_.count() > 0 && !isArmed(now);
}

std::optional<int> Conversation::secondsLeft(Time now) const {
  if (!deadline_) return {};
  const auto left = std::chrono::ceil<std::chrono::seconds>(*deadline_ - now);
  return static_cast<int>(std::max<std::chrono::seconds::rep>(left.count(), 0));
}

void Conversation::ask(Question question) {
  question_ = question;
  drawnAt_.reset();
}
