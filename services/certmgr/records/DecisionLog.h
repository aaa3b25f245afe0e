#ifndef SERVICES_CERTMGR_RECORDS_DECISIONLOG_H
#define SERVICES_CERTMGR_RECORDS_DECISIONLOG_H

#include <sys/types.h>

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

#include "services/certmgr/path/Evaluation.h"

// Who asked, as the kernel knows it; -1 where it does not.
struct Asker {
  pid_t pid = -1;
  uid_t uid = static_cast<uid_t>(-1);
};

// One answered request, for the log. Refers to its parts, which must live as long.
struct Decision {
  Asker asker;
  std::string_view application;
  std::string_view className;
  const Evaluation& evaluation;
  bool remembered = false;  // the verdict is one of an earlier request
  std::chrono::microseconds took{0};
};

// The line about it; docs/certmgrd-operation.md has a table of its fields:
//   decision verdict=INVALID application=common class=user_trusted pid=17 uid=1000
//   leaf=a.example serial=01ab sha256=... warnings=CERT_EXPIRY findings=expired@0
//   remembered=no gave_up=no us=412 path="a.example[0123abcd] < Root[4567cdef]"
std::string decisionLine(const Decision& decision);

// One line a finding, with what was seen:
//   finding reason=expired member=0 certificate=a.example evidence="not after 2025-12-31T23:59:59Z"
std::vector<std::string> findingLines(const Evaluation& evaluation);

// The line about a request that was answered with an error: refused err="..." pid=17 uid=1000 us=3
std::string refusalLine(const Asker& asker, std::string_view error, std::chrono::microseconds took);

#endif
