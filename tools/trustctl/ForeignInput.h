#ifndef TOOLS_TRUSTCTL_FOREIGNINPUT_H
#define TOOLS_TRUSTCTL_FOREIGNINPUT_H

#include <cstddef>
#include <string>

// Names what people give in place of certificates, and says which file they want. Both
// return the rest of a sentence that begins with the input's name.

// For PEM text without a certificate, by the label of its first block; empty for no block.
std::string describeForeignPem(const std::string& label);

// For binary data that is neither a certificate nor a PKCS#7 bag.
std::string describeForeignDer(const unsigned char* bytes, std::size_t length);

#endif
