#ifndef SERVICES_CERTMGR_CHAINFILES_H
#define SERVICES_CERTMGR_CHAINFILES_H

#include <atomic>
#include <string>

#include "services/certmgr/path/ParsedCertificate.h"

// The DER files by which answers name certificates that no client sent: SHA256.der,
// written once and readable by all. Only certificates of the stores get one, so
// there are never more than the stores hold. Safe from several threads.
class ChainFiles {
 public:
  // Makes `directory` when it is missing and clears what a crashed service left in
  // it. Throws std::runtime_error with the reason.
  explicit ChainFiles(std::string directory);
  // Removes the files, and the directory when nothing else is in it.
  ~ChainFiles();
  ChainFiles(const ChainFiles&) = delete;
  ChainFiles& operator=(const ChainFiles&) = delete;

  // The path of the certificate's file, which is complete when this returns.
  // Throws std::runtime_error when it cannot be written; nothing is left then.
  std::string pathOf(const ParsedCertificate& certificate);

 private:
  void clear() const;

  std::string directory_;
  std::atomic<unsigned> temporaries_{0};
};

#endif
