#ifndef TOOLS_TRUSTCTL_CONNECT_CONNECTIONREPORT_H
#define TOOLS_TRUSTCTL_CONNECT_CONNECTIONREPORT_H

#include <cstdint>
#include <string>
#include <vector>

#include "services/common/TextWriter.h"
#include "tools/trustctl/connect/ConnectionFacts.h"

// One line of the report for people; the label has at most nine columns.
struct ConnectionField {
  const char* label;
  std::string value;       // escaped
  bool isForeign = false;  // the server chose it: else plain words, to be broken at spaces
};

// What is told of a connection in the report for people. `time` is the moment of the check.
std::vector<ConnectionField> fieldsOf(const ConnectionFacts& connection, std::int64_t time);

// Adds the member "connection" to the report for programs; see docs/connect.md.
void addConnection(TextWriter* object, const ConnectionFacts& connection);

#endif
