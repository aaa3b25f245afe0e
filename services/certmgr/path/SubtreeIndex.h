#ifndef SERVICES_CERTMGR_PATH_SUBTREEINDEX_H
#define SERVICES_CERTMGR_PATH_SUBTREEINDEX_H

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "services/certmgr/path/Budget.h"
#include "services/certmgr/path/ParsedCertificate.h"
#include "services/certmgr/path/PrefixSet.h"

// A name of a certificate in the form in which subtrees are looked up.
struct ConstrainedName {
  // Reads it; charges the budget.
  ConstrainedName(GeneralName::Kind kind, std::string bytes, Budget& budget);

  std::string text() const;  // for people

  GeneralName::Kind kind;
  std::string bytes;
  std::optional<std::string> key;  // nothing: it is no proper name of its kind
};

// The permitted or the excluded subtrees of one issuer, made ready so that looking a name up
// costs the same for one subtree and for thousands. Keeps the vector it is made from.
class SubtreeIndex {
 public:
  enum class Role { permitted, excluded };
  using Subtrees = std::vector<NameConstraints::Subtree>;
  using Kind = GeneralName::Kind;

  // Charges the budget; when that ends, nothing may be looked up.
  SubtreeIndex(const Subtrees& subtrees, Role role, Budget& budget);

  bool has(Kind kind) const { return of(kind).count != 0; }
  // The first subtree of the kind; there must be one.
  const GeneralName& first(Kind kind) const { return subtrees_[of(kind).first].base; }
  std::size_t count(Kind kind) const { return of(kind).count; }
  // The first subtree of the kind that cannot be applied, or NULL.
  const GeneralName* notUnderstood(Kind kind) const;
  // A subtree that the name lies in, or NULL; always the same of several. Where the subtrees
  // are excluded, also one that shares a name with what a wildcard stands for. The name must
  // have a key.
  const GeneralName* find(const ConstrainedName& name) const;

 private:
  struct OfKind {
    std::size_t count = 0;
    std::size_t first = PrefixSet::kNone;
    std::size_t notUnderstood = PrefixSet::kNone;
    PrefixSet within;  // what a name's key may start with
    PrefixSet below;   // and here the name has to go on with another label
  };

  const OfKind& of(Kind kind) const { return kinds_[static_cast<std::size_t>(kind)]; }
  OfKind& of(Kind kind) { return kinds_[static_cast<std::size_t>(kind)]; }
  bool addTo(OfKind& kind, const GeneralName& base, std::size_t at) const;
  const GeneralName* base(std::size_t at) const;

  const Subtrees& subtrees_;
  Role role_;
  std::array<OfKind, static_cast<std::size_t>(Kind::registeredId) + 1> kinds_;
};

#endif
