#ifndef SERVICES_DIALOG_MODEL_EARLIEREXCEPTIONS_H
#define SERVICES_DIALOG_MODEL_EARLIEREXCEPTIONS_H

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

#include "services/dialog/model/DialogInput.h"

// Reads the exceptions that a store's directory holds for exactly that domain (the same bytes;
// nothing: those without one), newest file first. Takes only plain files of `owner`, no links,
// of at most 1 MiB; passes over what is broken; a directory that cannot be read gives none. So
// that a store of any size delays nobody, it looks at the newest 2000 files only and at no more
// than 64 MiB of them, and returns at most 100. Opens and reads as the calling thread's user.
std::vector<EarlierException> readEarlierExceptions(const std::string& directory,
                                                    const std::optional<std::string>& domain,
                                                    uid_t owner);

#endif
