#ifndef SERVICES_CERTMGR_WORKERS_WORKERMESSAGE_H
#define SERVICES_CERTMGR_WORKERS_WORKERMESSAGE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/objects/ControlRequest.h"

// What the service sends to a worker, one message a request. Both are the same program, so the
// bytes are those of this machine.
struct WorkerMessage {
  // The longest message that can be decoded: a whole request and all groups that are sent.
  static constexpr std::size_t kMaxBytes = 96UL * 1024;

  // Grows with every reload that the service was asked for.
  std::uint64_t generation = 0;
  // Without its `cancelled` and `arrived`, which stay with the service; of a process with more
  // than 4096 groups without those, as if the kernel had not told them.
  ControlRequest request{};

  std::string encode() const;
  // Throws std::runtime_error for bytes that encode() does not make.
  static WorkerMessage decode(std::string_view bytes);
};

#endif
