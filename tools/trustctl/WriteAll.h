#ifndef TOOLS_TRUSTCTL_WRITEALL_H
#define TOOLS_TRUSTCTL_WRITEALL_H

#include <string_view>

// Writes all of the bytes; 0, or the errno of what kept it from that, when part of them may be
// there. Throws Interrupted when a signal asks the run to end.
int writeAll(int fd, std::string_view bytes);

#endif
