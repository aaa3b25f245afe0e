#ifndef SERVICES_CERTMGR_CHAINFILES_H
#define SERVICES_CERTMGR_CHAINFILES_H

#include <atomic>
#include <string>
#include <utility>

#include "services/certmgr/path/ParsedCertificate.h"

// The directory of ChainFiles, as long as the service lives.
class ChainDirectory {
 public:
  // Makes `directory` when it is missing and clears what a crashed service left in
  // it. Throws std::runtime_error with the reason.
  explicit ChainDirectory(std::string directory);
  // Removes the files, and the directory when nothing else is in it.
  ~ChainDirectory();
  ChainDirectory(const ChainDirectory&) = delete;
  ChainDirectory& operator=(const ChainDirectory&) = delete;

  const std::string& path() const { return directory_; }

 private:
  void clear() const;

  std::string directory_;
};

// The DER files by which answers name certificates that no client sent: SHA256.der,
// written once and readable by all. Only certificates of the stores get one, so
// there are never more than the stores hold. Safe from several threads and processes.
class ChainFiles {
 public:
  // `directory` is that of a ChainDirectory.
  explicit ChainFiles(std::string directory) : directory_(std::move(directory)) {}

  // The path of the certificate's file, which is complete when this returns.
  // Throws std::runtime_error when it cannot be written; nothing is left then.
  std::string pathOf(const ParsedCertificate& certificate);

 private:
  std::string directory_;
  std::atomic<unsigned> temporaries_{0};
};

#endif
