#ifndef TOOLS_TRUSTCTL_EXCEPTIONS_DOCUMENTWRITER_H
#define TOOLS_TRUSTCTL_EXCEPTIONS_DOCUMENTWRITER_H

#include <string>

#include "tools/trustctl/exceptions/ExceptionRecord.h"

// The parts of the document that carries decisions from one store to another: one JSON object,
// plain ASCII, one decision a line. The caller writes them one after the other:
//
//     documentStart + documentLine(first) + documentLine(next, ...) + documentEnd
extern const char* const documentFormat;  // its member "format"
extern const char* const documentStart;
extern const char* const documentEnd;

// One decision with the line's end in front, and a comma before that unless it is the first.
// Throws std::runtime_error when a text in it cannot be written as JSON.
std::string documentLine(const ExceptionRecord& record, bool isFirst);

#endif
