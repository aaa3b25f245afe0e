#ifndef TOOLS_TRUSTCTL_MANY_MANYVERDICTS_H
#define TOOLS_TRUSTCTL_MANY_MANYVERDICTS_H

#include <vector>

#include "tools/trustctl/CommandError.h"
#include "tools/trustctl/Judging.h"
#include "tools/trustctl/many/ManyInputs.h"

// Judges many chains, several at a time, and prints a report of each in their order: a line or
// two with a summary in the end, or a line of JSON. Nobody is asked. An input that cannot be used
// or judged is told like the others and stops none. Returns the gravest status of all.
ExitStatus judgeMany(const JudgingOptions& options, const std::vector<ManyInput>& inputs,
                     std::size_t threads);

#endif
