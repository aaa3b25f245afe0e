// Reads attribute text in place, one attribute a line: `name:encoding:value`.
#ifndef PLATFORM_PPSCODEC_ATTRIBUTETEXT_H
#define PLATFORM_PPSCODEC_ATTRIBUTETEXT_H

#include "platform/ppscodec/Tree.h"

namespace ppscodec {

// Parses the NUL-terminated `text`, which is changed, and adds one object whose
// members are the attributes. Returns a pps_result; the text must outlive what
// was built. May throw std::bad_alloc.
int parseAttributeText(char* text, TreeBuilder& builder);

// Whether `name` can stand before the first colon of a line: not empty, no
// colon, no control character.
bool isAttributeName(const char* name);

}  // namespace ppscodec

#endif
