#ifndef SERVICES_CERTMGR_WORKERS_SYSTEMCALLFILTER_H
#define SERVICES_CERTMGR_WORKERS_SYSTEMCALLFILTER_H

// Makes system calls that no evaluation needs fail with EPERM in this thread and those that it
// starts from now on: sockets other than AF_UNIX, starting programs, tracing, mounting, keys,
// loading code into the kernel and the like. False when the build or the kernel has no such
// filter.
bool filterSystemCalls();

#endif
