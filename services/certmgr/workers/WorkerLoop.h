#ifndef SERVICES_CERTMGR_WORKERS_WORKERLOOP_H
#define SERVICES_CERTMGR_WORKERS_WORKERLOOP_H

#include <functional>

#include "platform/objects/ControlServer.h"

// The life of a worker process: answers the messages that come through the socket `fd` one after
// the other, as a ControlServer would, until the service closes its end. Calls `reload` before
// the first answer after the service was asked to.
void answerMessages(int fd, const ControlServer::Handler& handler,
                    const std::function<void()>& reload);

#endif
