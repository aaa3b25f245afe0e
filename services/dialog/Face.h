#ifndef SERVICES_DIALOG_FACE_H
#define SERVICES_DIALOG_FACE_H

#include <sys/types.h>

#include <optional>
#include <stop_token>

#include "services/common/UserAccount.h"
#include "services/dialog/model/DialogModel.h"

// Whom a dialog is for.
struct Audience {
  pid_t process = 0;  // which asks
  UserAccount user;   // whom it runs as
  gid_t group = 0;    // which it runs in, perhaps not the user's usual one
};

// Puts a dialog before a user. All is safe from several threads.
class Face {
 public:
  virtual ~Face() = default;

  // Whether there is any way now to show it to them.
  virtual bool canReach(const Audience& audience) const = 0;

  // Shows it and returns what was chosen; declined where nothing was. Nothing when it could not
  // be shown, or was taken down because a stop was asked for, which must not take long.
  // Throws std::runtime_error for want of memory, descriptors or processes.
  virtual std::optional<DialogChoice> show(const DialogModel& model, const Audience& audience,
                                           const std::stop_token& stop) const = 0;
};

#endif
