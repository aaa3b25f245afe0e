#ifndef SERVICES_CERTMGR_PATH_PREFIXSET_H
#define SERVICES_CERTMGR_PATH_PREFIXSET_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// Strings, each standing for all that starts with it. Looking one up takes a logarithmic number
// of comparisons whoever chose the strings, which hashing does not promise. Filled first, then
// sealed, then read by any number of threads.
class PrefixSet {
 public:
  // `tag` is handed back by look-ups, for the caller's own use.
  void add(std::string prefix, std::size_t tag);
  // Sorts, and drops what another one stands for already. Of equal ones the first added stays.
  void seal();

  static constexpr std::size_t kNone = static_cast<std::size_t>(-1);
  // The tag of the one that `text` starts with, or kNone.
  std::size_t findPrefixOf(std::string_view text) const;
  // The same, but the text has to go on after it.
  std::size_t findProperPrefixOf(std::string_view text) const;
  // The tag of the first one that starts with `text`, or kNone.
  std::size_t findStartingWith(std::string_view text) const;

 private:
  struct Entry {
    std::string prefix;
    std::size_t tag;
  };
  std::vector<Entry> entries_;
};

#endif
