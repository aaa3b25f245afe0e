#include "services/dialog/FaceEnvironment.h"

#include <unistd.h>

#include <algorithm>
#include <optional>
#include <string_view>

#include "services/common/UserIdentity.h"
#include "services/dialog/ProcessTable.h"

namespace {

using Variables = std::vector<std::string>;

constexpr std::size_t kMaxValueBytes = 128;
constexpr std::string_view kOfThePlace[] = {"TERM", "LANG", "LC_ALL", "LC_CTYPE"};

Variables ownEnvironment() {
  Variables variables;
  for (char** variable = environ; *variable != nullptr; ++variable) {
    variables.emplace_back(*variable);
  }
  return variables;
}

std::optional<Variables> askersEnvironment(const Audience& audience) {
  // A process may be looked into only by who is in its group, too.
  UserAccount reader = audience.user;
  reader.gid = audience.group;
  const UserIdentity identity(reader);
  return environmentOf(audience.process);
}

// The value of a variable; empty when there is none.
std::string_view valueOf(const Variables& variables, std::string_view name) {
  for (const std::string_view variable : variables) {
    if (variable.size() > name.size() && variable.substr(0, name.size()) == name &&
        variable[name.size()] == '=') {
      return variable.substr(name.size() + 1);
    }
  }
  return {};
}

bool isPlain(std::string_view value) {
  return !value.empty() && value.size() <= kMaxValueBytes &&
         std::all_of(value.begin(), value.end(), [](char c) { return c > 0x20 && c < 0x7f; });
}

void take(FaceEnvironment& environment, const Variables& from, std::string_view name) {
  environment.variables.push_back(std::string(name) + "=" + std::string(valueOf(from, name)));
}

}  // namespace

FaceEnvironment environmentFor(const Audience& audience) {
  const Variables own = ownEnvironment();
  const Variables asker = askersEnvironment(audience).value_or(own);
  FaceEnvironment environment;
  for (const std::string_view name : kOfThePlace) {
    if (isPlain(valueOf(asker, name))) take(environment, asker, name);
  }
  if (!valueOf(own, "PATH").empty()) take(environment, own, "PATH");
  environment.colour = valueOf(own, "NO_COLOR").empty() && valueOf(asker, "NO_COLOR").empty();
  return environment;
}
