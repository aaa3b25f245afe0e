#ifndef SERVICES_DIALOG_MODEL_EXCEPTIONCOMPARISON_H
#define SERVICES_DIALOG_MODEL_EXCEPTIONCOMPARISON_H

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
};

// Compares with the nearest of the earlier exceptions: the one with the least change of leaf,
// then of issuer, then the fewest new warnings, then an unchanged rest, then the fewest gone
// warnings, then the youngest certificate; the bytes decide between what is left, so that the
// order of storing does not. Exceptions whose chains cannot be read are passed over. Nothing
// when there is none.
std::optional<ExceptionDifference> compareWithNearest(const DialogInput& input,
                                                      const std::vector<ChainMember>& chain);

#endif
