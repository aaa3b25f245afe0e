#ifndef TOOLS_TRUSTCTL_EXCEPTIONS_RECORDNAME_H
#define TOOLS_TRUSTCTL_EXCEPTIONS_RECORDNAME_H

#include <optional>
#include <string>
#include <string_view>

// A hash has so many numbers for records of its own: 0 to 9.
constexpr int numbersPerHash = 10;

// The name of a record's file, "cx_HASH_NUMBER.json".
struct RecordName {
  std::string hash;  // 40 lower-case hexadecimal digits
  int number = 0;    // 0 to 9, in the order in which records of one hash are looked for
};

// Nothing for every name under which the library would not look.
std::optional<RecordName> parseRecordName(std::string_view fileName);

std::string fileNameOf(const RecordName& name);

#endif
