#ifndef FUZZ_PROPERTY_H
#define FUZZ_PROPERTY_H

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <string_view>

// Ends the program with a word of explanation when a property does not hold, so that libFuzzer
// keeps the input and a seed's test fails.
inline void require(bool holds, const char* property) {
  if (holds) return;
  std::cerr << "this does not hold: " << property << "\n";
  std::abort();
}

// Whether nothing in a UTF-8 text acts on a terminal: no C0 control, no DEL, no C1 control.
inline bool hasNoControls(std::string_view text) {
  bool afterC2 = false;
  return std::none_of(text.begin(), text.end(), [&](char c) {
    const auto byte = static_cast<unsigned char>(c);
    const bool isC1 = afterC2 && byte >= 0x80 && byte < 0xa0;
    afterC2 = byte == 0xc2;
    return byte < 0x20 || byte == 0x7f || isC1;
  });
}

#endif
