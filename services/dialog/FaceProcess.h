#ifndef SERVICES_DIALOG_FACEPROCESS_H
#define SERVICES_DIALOG_FACEPROCESS_H

#include <chrono>
#include <functional>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "services/common/UserAccount.h"
#include "services/dialog/model/DialogModel.h"

// A face as a program of its own: reads the model as JSON to the end of its standard input,
// writes one word and a line feed, and exits with status 0.
struct FaceCommand {
  std::vector<std::string> arguments;    // the program's path first
  std::vector<std::string> environment;  // "NAME=VALUE", the whole of it
  std::string input;
  std::optional<UserAccount> user;            // nothing: whom this process runs as
  std::optional<std::chrono::seconds> limit;  // nothing: as long as it takes
  std::function<bool()> isWanted;  // asked several times a second; must not wait. Empty: always
};

struct FaceResult {
  // What was chosen; declined for any end but the one above, and past the limit.
  DialogChoice choice = DialogChoice::decline;
  // It was taken down because a stop was asked for or nobody wanted it any more, and chose nothing.
  bool cancelled = false;
  // It was killed, by whomever, so that it cannot have cleaned up after itself.
  bool killed = false;
  // The first line that it wrote to standard error, fit for a screen. Empty where it wrote none,
  // and where it runs as this process does and therefore writes to the same place.
  std::string complaint;
};

// Runs the program in a session of its own and waits for its end. One of another user starts in the
// root folder and has nothing of this process open: that user may take it over. On a stop or past
// the limit it gets SIGTERM, and two seconds later SIGKILL; processes that it leaves behind are
// killed too. Should this thread end meanwhile, it gets SIGTERM. Throws std::runtime_error when it
// cannot be started for want of memory, descriptors or processes.
FaceResult runFace(const FaceCommand& command, const std::stop_token& stop);

#endif
