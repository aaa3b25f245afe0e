#ifndef TOOLS_TRUSTCTL_EXCEPTIONS_LIKELYDECISIONS_H
#define TOOLS_TRUSTCTL_EXCEPTIONS_LIKELYDECISIONS_H

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "tools/trustctl/exceptions/ExceptionStore.h"
#include "tools/trustctl/exceptions/RecordId.h"

// How the domain of stored decisions stands to the one that somebody asks about. Ordered from
// near to far.
enum class DomainRelation {
  same,             // byte for byte, as the library wants it
  otherSpelling,    // but for letter case or a dot at the end
  sameCertificate,  // another domain, but the very certificate of the server
  similar,          // another domain that looks like it
  none              // no decision comes near
};

// The decisions that somebody may mean who asks about a domain.
struct LikelyDecisions {
  DomainRelation relation = DomainRelation::none;
  std::vector<StoredRecord> records;  // all of that relation, by file name; of similar: one domain
  std::size_t unreadable = 0;         // files that could not be looked into
};

// Looks through the store; `leaf` is the server's certificate, where it is known. Holds no more
// than what it returns. Throws CommandError (undecided) when the store cannot be read, and
// Interrupted.
LikelyDecisions findLikely(const ExceptionStore& store, const std::string& domain,
                           const std::optional<CertificateDer>& leaf);

#endif
