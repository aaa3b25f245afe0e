#ifndef SERVICES_CERTMGR_SERVING_H
#define SERVICES_CERTMGR_SERVING_H

#include <sys/types.h>

#include <string>
#include <vector>

#include "services/certmgr/ServiceOptions.h"

// Serves until the process is told to end, as the service or as one of its workers, whichever
// the options say. `arguments` is the command line that the options came from, and `parent` the
// process that was there when this one started. Throws std::runtime_error when it cannot.
void serve(const ServiceOptions& options, const std::vector<std::string>& arguments, pid_t parent);

#endif
