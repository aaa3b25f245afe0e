#include "services/dialog/DialogQueue.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace {

// Lets the others in while this thread waits for something else, whatever comes of it.
class Unlocked {
 public:
  explicit Unlocked(std::unique_lock<std::mutex>& lock) : lock_(lock) { lock_.unlock(); }
  ~Unlocked() { lock_.lock(); }
  Unlocked(const Unlocked&) = delete;
  Unlocked& operator=(const Unlocked&) = delete;

 private:
  std::unique_lock<std::mutex>& lock_;
};

}  // namespace

// One request's place at a dialog; it is given up however the request ends. Used under the lock.
class DialogQueue::Place {
 public:
  Place(DialogQueue& queue, std::shared_ptr<Dialog> dialog)
      : queue_(queue), dialog_(std::move(dialog)) {
    dialog_->askers.push_back(this);
  }
  ~Place() {
    dialog_->askers.remove(this);
    if (dialog_->askers.empty()) queue_.close(dialog_);
    queue_.changed_.notify_all();
  }
  Place(const Place&) = delete;
  Place& operator=(const Place&) = delete;

  bool isAnswered() const { return dialog_->answer.has_value(); }
  DialogChoice answer() const { return dialog_->answer.value_or(DialogChoice::decline); }
  // Whether it is on this request to show the dialog.
  bool isItsTurn() const {
    return !isAnswered() && dialog_->askers.front() == this &&
           queue_.dialogs_.at(dialog_->question.user).front() == dialog_;
  }
  void settle(DialogChoice choice) {
    dialog_->answer = choice;
    queue_.close(dialog_);  // who asks the same from now on is a new question
  }

 private:
  DialogQueue& queue_;
  std::shared_ptr<Dialog> dialog_;
};

DialogQueue::DialogQueue(Arrival arrived) : arrived_(std::move(arrived)) {}

DialogChoice DialogQueue::ask(const DialogQuestion& question, const Show& show,
                              const std::stop_token& cancelled) {
  std::unique_lock lock(mutex_);
  const std::shared_ptr<Dialog> dialog = findOrAdd(question, show != nullptr);
  if (dialog == nullptr) return DialogChoice::decline;
  Place place(*this, dialog);
  if (arrived_) arrived_(question.user, waitingOf(question.user));

  changed_.wait(lock, cancelled, [&] { return place.isAnswered() || place.isItsTurn(); });
  if (place.isAnswered() || cancelled.stop_requested() || show == nullptr) return place.answer();
  std::optional<DialogChoice> choice;
  {
    const Unlocked meanwhile(lock);
    choice = show(cancelled);
  }
  if (choice) place.settle(*choice);
  return place.answer();
}

// The dialog that this question is about; null when it would be a new one and nobody could
// show it.
std::shared_ptr<DialogQueue::Dialog> DialogQueue::findOrAdd(const DialogQuestion& question,
                                                            bool showable) {
  if (waitingOf(question.user) >= kMaxWaiting) {
    throw std::runtime_error("too many dialogs wait for this user");
  }
  const auto all = dialogs_.find(question.user);
  if (all != dialogs_.end()) {
    const auto same = std::find_if(
        all->second.begin(), all->second.end(),
        [&](const std::shared_ptr<Dialog>& dialog) { return dialog->question == question; });
    if (same != all->second.end()) return *same;
  }
  if (!showable) return nullptr;
  auto dialog = std::make_shared<Dialog>();
  dialog->question = question;
  dialogs_[question.user].push_back(dialog);
  return dialog;
}

std::size_t DialogQueue::waitingOf(uid_t user) const {
  std::size_t count = 0;
  const auto all = dialogs_.find(user);
  if (all == dialogs_.end()) return 0;
  for (const std::shared_ptr<Dialog>& dialog : all->second) count += dialog->askers.size();
  return count;
}

void DialogQueue::close(const std::shared_ptr<Dialog>& dialog) {
  const auto all = dialogs_.find(dialog->question.user);
  if (all == dialogs_.end()) return;
  all->second.remove(dialog);
  if (all->second.empty()) dialogs_.erase(all);
}
