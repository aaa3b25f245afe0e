#ifndef TOOLS_TRUSTCTL_EXCEPTIONS_FINGERPRINT_H
#define TOOLS_TRUSTCTL_EXCEPTIONS_FINGERPRINT_H

#include <optional>
#include <string>
#include <string_view>

// A SHA-256 as people have it, in any letter case, with ":" or spaces between digits, as 64
// lower-case hexadecimal digits. Nothing for any other text.
std::optional<std::string> parseFingerprint(std::string_view typed);

#endif
