#ifndef SERVICES_DIALOG_MODEL_EXCEPTIONCOMPARISON_H
#define SERVICES_DIALOG_MODEL_EXCEPTIONCOMPARISON_H

#include <cstddef>
#include <optional>
#include <vector>

#include "services/dialog/model/ChainMember.h"
#include "services/dialog/model/DialogInput.h"

// How the server's certificate stands to the one accepted earlier. Ordered from near to far.
enum class LeafChange { none, renewedKeyKept, keyChanged };

// How who issued it stands to who issued the earlier one, by keys that verify and not by what
// is written. Ordered from near to far.
enum class IssuerChange {
  none,       // the same issuing key
  sameRoots,  // another issuing key, but a key further up that vouches for both
  unproven,   // the same name, but no key here proves it
  other
};

// What a stored exception and the chain of now have and have not in common.
struct ExceptionDifference {
  std::vector<ChainMember> then;  // the accepted chain
  LeafChange leaf = LeafChange::none;
  IssuerChange issuer = IssuerChange::none;
  bool restChanged = false;             // certificates above the server's own
  unsigned long long newWarnings = 0;   // now, and not accepted then
  unsigned long long goneWarnings = 0;  // accepted then, and not now
  std::size_t earlier = 0;              // which of the input's earlier exceptions it is
};

// What became of one certificate of a chain.
enum class CertificateChange {
  none,
  moved,           // the same certificate, in another place
  renewedKeyKept,  // another certificate in its place, for the same key
  keyChanged,      // another certificate with another key in its place
  added,
  gone
};

struct CertificateDifference {
  CertificateChange change = CertificateChange::none;
  std::optional<std::size_t> now;   // its place in the chain of now; nothing where it is gone
  std::optional<std::size_t> then;  // its place in the earlier one; nothing where it was added
};

// Every certificate of both chains: those of now in their order, then those that are gone.
std::vector<CertificateDifference> compareChains(const std::vector<ChainMember>& now,
                                                 const std::vector<ChainMember>& then);

// Compares with the nearest of the earlier exceptions: the one with the least change of leaf,
// then of issuer, then the fewest new warnings, then an unchanged rest, then the fewest gone
// warnings, then the youngest certificate; the bytes decide between what is left, so that the
// order of storing does not. Exceptions whose chains cannot be read are passed over. Nothing
// when there is none.
std::optional<ExceptionDifference> compareWithNearest(const DialogInput& input,
                                                      const std::vector<ChainMember>& chain);

#endif
