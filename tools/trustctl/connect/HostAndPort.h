#ifndef TOOLS_TRUSTCTL_CONNECT_HOSTANDPORT_H
#define TOOLS_TRUSTCTL_CONNECT_HOSTANDPORT_H

#include <optional>
#include <string>

// Where to connect to, as somebody typed it.
struct HostAndPort {
  std::string host;         // a name, or an address without brackets
  std::optional<int> port;  // 1 to 65535
  bool isAddress = false;   // an IPv4 or IPv6 address and no name
};

// Reads NAME, NAME:PORT, 192.0.2.1:PORT, [2001:db8::1]:PORT, or an IPv6 address alone, which
// needs no brackets. Throws CommandError (wrongUse) for any other text, among it URLs, with what
// to type in its place.
HostAndPort parseHostAndPort(const std::string& typed);

// True for a text that can be a host's name: letters, digits, '-', '_' and dots, at most 253. Only
// such a text may become part of what is sent.
bool isHostName(const std::string& text);

#endif
