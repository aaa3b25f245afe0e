#ifndef SERVICES_COMMON_PRINTABLETEXT_H
#define SERVICES_COMMON_PRINTABLETEXT_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// Text from outside (certificates, domains, file names, other programs) made fit for a
// terminal. All are pure functions and may run on any thread.

// Returns `bytes` as UTF-8 that stays in its place whatever shows it:
// - control bytes, invalid UTF-8 and the ASCII bytes in `special` become \x1b,
// - what reorders, hides, stacks or mimics text (bidirectional controls, zero-width and
//   combining characters, odd spaces, private use, unassigned tags) becomes \u{202e},
// - a backslash becomes two, so that no text can look like an escape,
// - a space at an edge or after a space becomes \x20, so that no padding can be drawn.
// Never fails; the empty text stays empty.
std::string escapeText(std::string_view bytes, std::string_view special = {});

// Breaks an escaped text into at most `maxLines` lines of at most `columns` columns each,
// never inside an escape. What does not fit is cut, and the last line then ends in a mark
// that tells how much, \[123 more bytes], which no escaped text can contain.
// `columns` must be at least 40, or at least 12 where `maxLines` lets nothing be cut; `maxLines`
// at least 1. Returns at least one line.
std::vector<std::string> fitLines(std::string_view escaped, std::size_t columns,
                                  std::size_t maxLines);

// escapeText and one line of it, for use inside a message.
std::string printableText(std::string_view bytes, std::size_t columns = 120);

#endif
