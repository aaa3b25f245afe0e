#ifndef SERVICES_DIALOG_DIALOGSERVICE_H
#define SERVICES_DIALOG_DIALOGSERVICE_H

#include <memory>
#include <optional>
#include <string>

#include "platform/objects/ControlRequest.h"
#include "services/dialog/DialogQueue.h"
#include "services/dialog/Face.h"

struct DialogSettings {
  // Where earlier exceptions are looked up; nothing: in the asking user's own store.
  std::optional<std::string> store;
  int timeoutSeconds = 900;  // after that a dialog is declined; 0: never
  bool verbose = false;      // a line on stderr for each request and each answer
};

// Answers requests: parse, read the chain, wait for the user's choice, encode. Safe from several
// threads, one of which each waiting request needs.
class DialogService {
 public:
  DialogService(DialogSettings settings, std::unique_ptr<const Face> face);

  // The answer to one request. Throws std::runtime_error, whose text is the answer's "err",
  // when the request cannot be used; then nothing has been shown.
  std::string answer(const ControlRequest& request);

 private:
  DialogModel describe(const DialogQuestion& question, const Audience& audience) const;
  std::string storeOf(const UserAccount& user) const;
  void say(const std::string& text) const;

  const DialogSettings settings_;
  const std::unique_ptr<const Face> face_;
  DialogQueue queue_;
};

#endif
