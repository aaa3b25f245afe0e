#ifndef SERVICES_CERTMGR_PATH_TRUSTSTORE_H
#define SERVICES_CERTMGR_PATH_TRUSTSTORE_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "services/certmgr/path/ParsedCertificate.h"
#include "services/certmgr/path/RevocationList.h"

// A certificate that is trusted for itself.
struct Anchor {
  enum class Use {
    unrestricted,
    server,   // its file says in so many words that it may vouch for servers
    refused,  // its file says that it may not
  };
  CertificatePtr certificate;
  Use use = Use::unrestricted;
};

// The anchors and revocation lists that one verdict goes by. Filled once and never changed
// after, so any number of threads may read it.
class TrustStore {
 public:
  TrustStore();

  // The first anchor of several that are the same certificate counts.
  void add(Anchor anchor);
  void add(RevocationListPtr list);

  // In the order of their fingerprints.
  const std::vector<Anchor>& anchorsNamed(const DistinguishedName& subject) const;
  // The anchor that is this very certificate, or NULL.
  const Anchor* find(const ParsedCertificate& certificate) const;
  // In the order of their fingerprints. Lists are found by who signed them.
  const std::vector<RevocationListPtr>& listsBy(const DistinguishedName& issuer) const;
  bool hasLists() const { return !lists_.empty(); }
  std::size_t anchorCount() const { return anchorCount_; }

  // Different for any two stores of this process.
  std::uint64_t generation() const { return generation_; }

 private:
  std::unordered_map<std::string, std::vector<Anchor>> anchors_;           // by subject
  std::unordered_map<std::string, std::vector<RevocationListPtr>> lists_;  // by issuer
  std::size_t anchorCount_ = 0;
  std::uint64_t generation_;
};

#endif
