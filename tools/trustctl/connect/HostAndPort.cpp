#include "tools/trustctl/connect/HostAndPort.h"

#include <arpa/inet.h>
#include <netinet/in.h>

#include <algorithm>
#include <string_view>

#include <fmt/format.h>

#include "services/common/PrintableText.h"
#include "tools/trustctl/Options.h"

namespace {

constexpr std::size_t longestHostName = 253;
constexpr int highestPort = 65535;
constexpr std::string_view digits = "0123456789";

bool isIpv4(const std::string& text) {
  in_addr address{};
  return inet_pton(AF_INET, text.c_str(), &address) == 1;
}

// With a zone too: fe80::1%eth0.
bool isIpv6(const std::string& text) {
  in6_addr address{};
  const std::size_t zone = text.find('%');
  const std::string name = zone == std::string::npos ? "0" : text.substr(zone + 1);
  return inet_pton(AF_INET6, text.substr(0, zone).c_str(), &address) == 1 && isHostName(name);
}

bool isAscii(const std::string& text) {
  return std::all_of(text.begin(), text.end(),
                     [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

int parsePort(const std::string& text, const std::string& typed) {
  const bool isNumber =
      !text.empty() && text.size() <= 5 && text.find_first_not_of(digits) == std::string::npos;
  const int port = isNumber ? std::stoi(text) : 0;
  if (port < 1 || port > highestPort) {
    refuse(fmt::format("'{}' in '{}' is no port; give a number from 1 to {}", printableText(text),
                       printableText(typed), highestPort));
  }
  return port;
}

// What a URL has between its scheme (and user) and its path.
std::string hostPartOf(const std::string& url) {
  const std::size_t scheme = url.find("://");
  std::string rest = scheme == std::string::npos ? url : url.substr(scheme + 3);
  rest.erase(std::min(rest.find_first_of("/?#"), rest.size()));
  return rest.substr(rest.rfind('@') + 1);  // npos + 1 is the whole
}

[[noreturn]] void refuseUrl(const std::string& typed) {
  std::string advice = "give the host alone, such as example.org or example.org:8443";
  try {
    const std::string host = hostPartOf(typed);
    parseHostAndPort(host);
    advice = fmt::format("try: trustctl connect {}", host);
  } catch (const CommandError&) {
    // There is no host in it to propose.
  }
  refuse(fmt::format("'{}' is more than a host; {}", printableText(typed), advice));
}

HostAndPort parseBracketed(const std::string& typed) {
  const std::size_t end = typed.find(']');
  const std::string address = typed.substr(1, end == std::string::npos ? end : end - 1);
  const std::string rest = end == std::string::npos ? "" : typed.substr(end + 1);
  if (end == std::string::npos || !isIpv6(address) || (!rest.empty() && rest.front() != ':')) {
    refuse(fmt::format("'{}' is no IPv6 address in brackets; give it as [2001:db8::1]:443",
                       printableText(typed)));
  }
  if (rest.empty()) {
    return {address, {}, true};
  }
  return {address, parsePort(rest.substr(1), typed), true};
}

void requireHostName(const std::string& host, const std::string& typed) {
  if (host.empty()) {
    refuse(fmt::format("there is no host in '{}'; give one such as example.org or example.org:443",
                       printableText(typed)));
  }
  if (!isAscii(host)) {
    refuse(
        fmt::format("'{}' has letters beyond ASCII; give the name as it is registered, "
                    "beginning with xn--",
                    printableText(host)));
  }
  if (!isHostName(host)) {
    refuse(fmt::format("'{}' cannot be a host's name; give one such as example.org",
                       printableText(host)));
  }
}

}  // namespace

bool isHostName(const std::string& text) {
  return !text.empty() && text.size() <= longestHostName &&
         std::all_of(text.begin(), text.end(), [](char c) {
           return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                  c == '.' || c == '_' || c == '-';
         });
}

HostAndPort parseHostAndPort(const std::string& typed) {
  if (typed.find_first_of("/?#@") != std::string::npos) {
    refuseUrl(typed);
  }
  if (!typed.empty() && typed.front() == '[') {
    return parseBracketed(typed);
  }
  if (isIpv6(typed)) {
    return {typed, {}, true};
  }
  const std::size_t colon = typed.find(':');
  if (colon != typed.rfind(':')) {
    refuse(
        fmt::format("'{}' has more than one colon and is no IPv6 address; give such an address "
                    "with its port as [2001:db8::1]:443",
                    printableText(typed)));
  }
  const std::string host = typed.substr(0, colon);
  requireHostName(host, typed);
  if (colon == std::string::npos) {
    return {host, {}, isIpv4(host)};
  }
  return {host, parsePort(typed.substr(colon + 1), typed), isIpv4(host)};
}
