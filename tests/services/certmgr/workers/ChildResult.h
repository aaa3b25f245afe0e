#ifndef TESTS_SERVICES_CERTMGR_WORKERS_CHILDRESULT_H
#define TESTS_SERVICES_CERTMGR_WORKERS_CHILDRESULT_H

#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>
#include <string>

#include "platform/objects/ControlSocket.h"

// What `work`, which returns a text of at most 20000 bytes, gives in a process of its own: it may
// become another user there.
template <class Work>
std::string resultOfChild(Work work) {
  int ends[2];
  if (pipe(ends) != 0) throw std::runtime_error("no pipe");
  const OwnedFd readEnd(ends[0]);
  OwnedFd writeEnd(ends[1]);
  const pid_t child = fork();
  if (child == 0) {
    const std::string result = work();
    _exit(::write(writeEnd.get(), result.data(), result.size()) < 0 ? 1 : 0);
  }
  writeEnd = OwnedFd();
  std::string result(20000, '\0');
  const ssize_t length = ::read(readEnd.get(), result.data(), result.size());
  waitpid(child, nullptr, 0);
  result.resize(length < 0 ? 0 : static_cast<size_t>(length));
  return result;
}

#endif
