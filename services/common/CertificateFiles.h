#ifndef SERVICES_COMMON_CERTIFICATEFILES_H
#define SERVICES_COMMON_CERTIFICATEFILES_H

#include <sys/types.h>

#include <cstddef>
#include <string>

#include "platform/objects/ControlSocket.h"
#include "services/common/CertificateDer.h"
#include "services/common/OpenSslOwners.h"

// Reads a whole plain file of at most `maxBytes`. Never waits on a pipe or device.
// Throws std::runtime_error that names the file and the reason.
std::string readPlainFile(const std::string& path, std::size_t maxBytes);

// The same for a file that must belong to `owner` and be no symbolic link.
std::string readOwnedFile(const std::string& path, std::size_t maxBytes, uid_t owner);

// Reads the file of a certificate that a client named: an absolute path to a plain file of
// at most 64 KiB, which does not lead through what some process has open (/proc/PID/fd and
// its like). Throws std::runtime_error that names the file and what is wrong with it.
std::string readCertificateFile(const std::string& path);

// The same for one that was opened, or not (with errno) when `file` is empty. `path` is what
// messages call it.
std::string readCertificateFile(const OwnedFd& file, const std::string& path);

// The same for a file that holds exactly one certificate as DER.
CertificateDer readCertificateBytes(const std::string& path);

// The certificate as DER. Throws std::runtime_error when OpenSSL cannot.
std::string derOf(X509* certificate);

#endif
