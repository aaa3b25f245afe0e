#ifndef TOOLS_TRUSTCTL_EXCEPTIONS_DOCUMENTREADER_H
#define TOOLS_TRUSTCTL_EXCEPTIONS_DOCUMENTREADER_H

#include <cstddef>
#include <functional>

#include "tools/trustctl/exceptions/DocumentInput.h"
#include "tools/trustctl/exceptions/ExceptionRecord.h"

// Takes one decision; `number` counts from 1.
using RecordTaker = std::function<void(std::size_t number, const ExceptionRecord& record)>;

// Reads a document of decisions from its beginning to its end and hands each decision over as
// soon as it is read and checked: its numbers, names, times, fingerprints and base64, and that it
// can be stored. Holds no more than one decision at a time, so that a document of any size takes
// little room. What the taker throws goes on. Throws CommandError (wrongUse) that names the
// decision and what is wrong with it, and Interrupted.
//
// Whether the document is one at all ("format", "version") shows at its end at the latest: a
// caller who must not take half of a bad one reads it twice.
void readDocument(const DocumentInput& input, const RecordTaker& take);

#endif
