#ifndef SERVICES_COMMON_USERIDENTITY_H
#define SERVICES_COMMON_USERIDENTITY_H

#include <sys/types.h>

#include <array>
#include <cstdint>
#include <vector>

#include "services/common/UserAccount.h"

// While it lives, the files that this thread opens are opened with the rights of another user, and
// with no privilege besides, so that nobody can have a file read that he could not read himself.
// For a user that this process runs as anyway it does nothing. Other threads keep their rights.
// The signal by which this thread ends with its parent, if there is one, stays.
// When the own rights cannot be had back, the process ends at once.
class UserIdentity {
 public:
  // Whether this process may take on the rights of any user: root may, and who has been given the
  // capabilities to set user and group.
  static bool mayActForOthers();

  // Throws std::runtime_error, fit for an answer to the user, when this process may not act
  // for him.
  explicit UserIdentity(const UserAccount& user);
  ~UserIdentity();
  UserIdentity(const UserIdentity&) = delete;
  UserIdentity& operator=(const UserIdentity&) = delete;

  using Privileges = std::array<std::uint32_t, 2>;  // the capabilities in effect, as bits

 private:
  void giveUp() const;

  bool changed_ = false;
  int signalOfParentsEnd_ = 0;
  std::vector<gid_t> groups_;
  Privileges privileges_ = {};
  gid_t gid_;
  uid_t uid_;
};

// Whether this process runs as that user.
bool isOwnUser(const UserAccount& user);

// Makes this thread that user for good, in every respect; false when the system refuses. Plain
// system calls alone, for a child between fork and exec.
bool becomeUser(const UserAccount& user);

#endif
