#ifndef SERVICES_CERTMGR_RECORDS_COUNTERS_H
#define SERVICES_CERTMGR_RECORDS_COUNTERS_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "platform/objects/ControlSocket.h"
#include "services/certmgr/Warnings.h"

// What a service has done since it started. The numbers lie in memory that several processes of
// one service share, and each adds without a lock, from any number of threads; read together
// they are each right, but not of one instant. They start again from 0 after 2^64.
class Counters {
 public:
  enum Name : std::size_t {
    requests,                // of any kind, refused ones and those for these numbers too
    errors,                  // requests that were answered with "err"
    valid,                   // verdicts without a warning
    invalid,                 // verdicts with one or more
    remembered,              // verdicts that were known from an earlier request
    gaveUp,                  // verdicts for which not every path could be looked at
    storeLoads,              // trust stores that were read from their files
    evaluationMicroseconds,  // from requests to their verdicts, all together
    nameCount
  };

  // New ones, all 0. Throws std::runtime_error when the system has no memory for them.
  static Counters create();
  // Those behind a descriptor that another process got from fd(). Takes the descriptor over,
  // or throws std::runtime_error when it leads to anything else.
  static Counters attach(int fd);

  // For a child process; it stays this object's, and is closed by exec().
  int fd() const { return fd_.get(); }

  void add(Name name, std::uint64_t number = 1) noexcept;
  // Adds one to each of these warnings.
  void addWarnings(Warnings warnings) noexcept;

  std::uint64_t value(Name name) const noexcept;
  // Of a single warning.
  std::uint64_t warningCount(Warning::Flag flag) const noexcept;
  // Since create().
  std::uint64_t uptimeSeconds() const noexcept;

 private:
  struct Shared;
  struct Unmap {
    void operator()(Shared* shared) const noexcept;
  };

  Counters(OwnedFd fd, std::unique_ptr<Shared, Unmap> shared);
  static Counters map(OwnedFd fd);

  OwnedFd fd_;
  std::unique_ptr<Shared, Unmap> shared_;
};

#endif
