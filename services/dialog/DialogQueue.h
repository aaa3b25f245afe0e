#ifndef SERVICES_DIALOG_DIALOGQUEUE_H
#define SERVICES_DIALOG_DIALOGQUEUE_H

#include <sys/types.h>

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "services/common/CertificateDer.h"
#include "services/dialog/model/DialogModel.h"

// What a user is asked; two requests that are equal in all of it get one answer.
struct DialogQuestion {
  uid_t user = 0;
  std::optional<std::string> domain;
  unsigned long long warnings = 0;
  std::vector<CertificateDer> chain;

  bool operator==(const DialogQuestion&) const = default;
};

// Lets one dialog of a user be on screen at a time; further questions of that user wait in the
// order they came, and different users do not wait for each other. All is safe from several
// threads, one of which each waiting request needs.
class DialogQueue {
 public:
  // Requests of one user that may wait at once, so that no user takes all places of a service.
  static constexpr std::size_t kMaxWaiting = 64;

  // Shows the dialog and returns the answer to the question; nothing when this asker's dialog
  // could not be shown or was taken down, so that the question is still open. Must return soon
  // after a stop is asked for. Empty for an asker who cannot be shown anything.
  using Show = std::function<std::optional<DialogChoice>(const std::stop_token&)>;

  // Called with each request that is taken in: its user, and how many requests of that user
  // wait now. Runs on the request's thread, keeps all others out meanwhile, and must not throw.
  using Arrival = std::function<void(uid_t, std::size_t)>;

  explicit DialogQueue(Arrival arrived = {});

  // Waits for the user's answer and returns it. A request for the same question that waits
  // already, on screen or not, shares its answer; else this one's turn is awaited and its dialog
  // shown. Declined: when `cancelled` is asked to stop, which takes the dialog down (and shows
  // the one of the next request for the same question, if any), and when there is nobody who
  // could show it. Throws std::runtime_error when too many requests of the user wait, and what
  // `show` throws, which leaves the question to the others.
  DialogChoice ask(const DialogQuestion& question, const Show& show,
                   const std::stop_token& cancelled);

 private:
  class Place;
  struct Dialog {
    DialogQuestion question;
    std::list<const Place*> askers;  // the first one shows it
    std::optional<DialogChoice> answer;
  };
  using Dialogs = std::list<std::shared_ptr<Dialog>>;  // the first one is on screen

  std::shared_ptr<Dialog> findOrAdd(const DialogQuestion& question, bool showable);
  std::size_t waitingOf(uid_t user) const;
  void close(const std::shared_ptr<Dialog>& dialog);

  const Arrival arrived_;
  std::mutex mutex_;
  std::condition_variable_any changed_;
  std::map<uid_t, Dialogs> dialogs_;  // no empty ones
};

#endif
