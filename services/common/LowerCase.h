#ifndef SERVICES_COMMON_LOWERCASE_H
#define SERVICES_COMMON_LOWERCASE_H

#include <string>
#include <string_view>

// ASCII letters in lower case, whatever the locale, as domains are compared.
std::string lowerCase(std::string_view text);

#endif
