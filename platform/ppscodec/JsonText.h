// Reads one JSON value in place.
#ifndef PLATFORM_PPSCODEC_JSONTEXT_H
#define PLATFORM_PPSCODEC_JSONTEXT_H

#include "platform/ppscodec/Tree.h"

namespace ppscodec {

// Parses the NUL-terminated `text`, which is changed, and adds its one value to
// the builder. Returns a pps_result; the text must outlive what was built. May
// throw std::bad_alloc.
int parseJsonText(char* text, TreeBuilder& builder);

}  // namespace ppscodec

#endif
