#include "services/certmgr/workers/WorkerMessage.h"

#include <cstring>
#include <stdexcept>
#include <vector>

namespace {

constexpr std::size_t kMaxGroups = 4096;

struct Header {
  std::uint64_t generation;
  pid_t pid;
  uid_t uid;
  gid_t gid;
  std::uint32_t groups;
  std::uint32_t groupsKnown;
};

template <class Part>
void append(std::string& bytes, const Part* parts, std::size_t count) {
  bytes.append(reinterpret_cast<const char*>(parts), count * sizeof(Part));
}

template <class Part>
void take(std::string_view& bytes, Part* parts, std::size_t count) {
  const std::size_t length = count * sizeof(Part);
  if (bytes.size() < length) throw std::runtime_error("a message to a worker was cut");
  if (length > 0) memcpy(parts, bytes.data(), length);
  bytes.remove_prefix(length);
}

}  // namespace

std::string WorkerMessage::encode() const {
  const bool known = request.groups && request.groups->size() <= kMaxGroups;
  Header header = {};
  header.generation = generation;
  header.pid = request.pid;
  header.uid = request.uid;
  header.gid = request.gid;
  header.groups = known ? static_cast<std::uint32_t>(request.groups->size()) : 0;
  header.groupsKnown = known ? 1 : 0;
  std::string bytes;
  bytes.reserve(sizeof header + header.groups * sizeof(gid_t) + request.text.size());
  append(bytes, &header, 1);
  if (known) append(bytes, request.groups->data(), request.groups->size());
  return bytes.append(request.text);
}

WorkerMessage WorkerMessage::decode(std::string_view bytes) {
  Header header = {};
  take(bytes, &header, 1);
  if (header.groups > kMaxGroups) throw std::runtime_error("a message to a worker is damaged");
  WorkerMessage message;
  message.generation = header.generation;
  message.request.pid = header.pid;
  message.request.uid = header.uid;
  message.request.gid = header.gid;
  if (header.groupsKnown != 0) {
    message.request.groups.emplace(header.groups);
    take(bytes, message.request.groups->data(), header.groups);
  }
  message.request.text = bytes;
  return message;
}
