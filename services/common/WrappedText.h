#ifndef SERVICES_COMMON_WRAPPEDTEXT_H
#define SERVICES_COMMON_WRAPPEDTEXT_H

#include <cstddef>
#include <string>
#include <string_view>

// Breaks plain words at spaces to lines of at most `columns`, each indented; the last one is not
// ended. A longer word has a line of its own. Pure.
std::string wrapWords(std::string_view words, std::size_t indent, std::size_t columns);

#endif
