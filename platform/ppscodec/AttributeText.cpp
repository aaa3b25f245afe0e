#include "platform/ppscodec/AttributeText.h"

#include <algorithm>
#include <cstring>

#include "platform/ppscodec/ControlBytes.h"
#include "platform/ppscodec/JsonText.h"
#include "platform/ppscodec/ppscodec.h"

namespace ppscodec {
namespace {

// Ends the field that begins at `field` at the next `separator`. Returns what
// follows it, or null when there is none.
char* cutField(char* field, char separator) {
  char* const end = std::strchr(field, separator);
  if (end == nullptr) return nullptr;
  *end = '\0';
  return end + 1;
}

int parseLine(char* line, TreeBuilder& builder) {
  char* const encoding = cutField(line, ':');
  if (encoding == nullptr || !isAttributeName(line)) return PPS_BAD_SYNTAX;
  char* const value = cutField(encoding, ':');
  if (value == nullptr) return PPS_BAD_SYNTAX;

  const int result = builder.addName(line, std::strlen(line));
  if (result != PPS_OK) return result;
  if (*encoding == '\0') return builder.addString(value, std::strlen(value));
  if (std::strcmp(encoding, "json") == 0) return parseJsonText(value, builder);
  return PPS_BAD_SYNTAX;
}

}  // namespace

int parseAttributeText(char* text, TreeBuilder& builder) {
  int result = builder.startObject();
  char* line = text;
  while (result == PPS_OK && line != nullptr && *line != '\0') {
    char* const next = cutField(line, '\n');
    result = parseLine(line, builder);
    line = next;
  }
  return result == PPS_OK ? builder.endObject() : result;
}

bool isAttributeName(const char* name) {
  return *name != '\0' && std::none_of(name, name + std::strlen(name),
                                       [](char byte) { return byte == ':' || isControl(byte); });
}

}  // namespace ppscodec
