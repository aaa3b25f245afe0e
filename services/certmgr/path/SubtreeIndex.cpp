#include "services/certmgr/path/SubtreeIndex.h"

#include <string_view>
#include <utility>

#include "services/certmgr/path/DerReader.h"
#include "services/certmgr/path/NameForms.h"
#include "services/common/LowerCase.h"

namespace {

using Kind = GeneralName::Kind;

constexpr std::int64_t kNameCost = 200;
constexpr std::int64_t kSubtreeCost = 500;
constexpr std::int64_t kByteCost = 3;
// Names of this kind are taken apart, which can be done every few bytes.
constexpr std::int64_t kDirectoryCost = 800;
constexpr std::int64_t kDirectoryByteCost = 20;

std::int64_t costOf(Kind kind, std::size_t bytes, std::int64_t cost) {
  const auto size = static_cast<std::int64_t>(bytes);
  return kind == Kind::directory ? kDirectoryCost + kDirectoryByteCost * size
                                 : cost + kByteCost * size;
}

std::optional<std::string> directoryKey(std::string_view der) {
  try {
    return DistinguishedName(der).key();
  } catch (const DerError&) {
    return std::nullopt;
  }
}

std::optional<std::string> keyOf(Kind kind, std::string_view bytes) {
  switch (kind) {
    case Kind::dns:
      return hostKey(bytes);
    case Kind::email:
      return mailboxKey(bytes);
    case Kind::uri:
      return uriHostKey(bytes);
    case Kind::address:
      return addressKey(bytes);
    case Kind::directory:
      return directoryKey(bytes);
    default:
      return std::nullopt;
  }
}

// What of a key is the host; "below" subtrees look at nothing else.
std::string_view hostPart(std::string_view key) {
  return key.substr(0, key.find('@'));
}

// The key of the domain below which the names lie that a wildcard may stand for.
std::optional<std::string_view> wildcardDomain(std::string_view key) {
  const std::size_t star = key.find('*');
  if (star == std::string_view::npos) return std::nullopt;
  return key.substr(0, key.rfind('.', star) + 1);  // npos + 1 is 0: of every name
}

}  // namespace

ConstrainedName::ConstrainedName(Kind kind, std::string bytes, Budget& budget)
    : kind(kind), bytes(std::move(bytes)) {
  if (budget.spend(costOf(kind, this->bytes.size(), kNameCost))) key = keyOf(kind, this->bytes);
}

std::string ConstrainedName::text() const {
  return nameText(kind, bytes);
}

SubtreeIndex::SubtreeIndex(const Subtrees& subtrees, Role role, Budget& budget)
    : subtrees_(subtrees), role_(role) {
  for (std::size_t at = 0; at < subtrees.size(); ++at) {
    const NameConstraints::Subtree& subtree = subtrees[at];
    const Kind kind = subtree.base.kind;
    if (!budget.spend(costOf(kind, subtree.base.bytes.size(), kSubtreeCost))) return;
    OfKind& entry = of(kind);
    if (entry.count++ == 0) entry.first = at;
    const bool understood = !subtree.hasDistances && addTo(entry, subtree.base, at);
    if (!understood && entry.notUnderstood == PrefixSet::kNone) entry.notUnderstood = at;
  }
  for (OfKind& entry : kinds_) {
    entry.within.seal();
    entry.below.seal();
  }
}

// False when the subtree says nothing that can be understood.
bool SubtreeIndex::addTo(OfKind& entry, const GeneralName& base, std::size_t at) const {
  const auto addIfRead = [at](PrefixSet& set, std::optional<std::string> key) {
    if (key) set.add(std::move(*key), at);
    return key.has_value();
  };
  const std::string_view text = base.bytes;
  switch (base.kind) {
    case Kind::dns:
    case Kind::uri:
    case Kind::email:
      break;
    case Kind::address:
      return addIfRead(entry.within, networkKey(text));
    case Kind::directory:
      return addIfRead(entry.within, directoryKey(text));
    default:
      return false;
  }
  if (text.empty()) return addIfRead(entry.within, "");
  if (base.kind == Kind::email && text.find('@') != std::string_view::npos) {
    std::optional<std::string> mailbox = mailboxKey(text);
    if (mailbox && role_ == Role::excluded) mailbox = lowerCase(*mailbox);
    return addIfRead(entry.within, std::move(mailbox));
  }
  if (text.find('*') != std::string_view::npos) return false;
  if (text.front() == '.') return addIfRead(entry.below, hostKey(text.substr(1)));
  std::optional<std::string> host = hostKey(text);
  // Domains of the other two kinds are single hosts.
  if (host && base.kind != Kind::dns) host->push_back('@');
  return addIfRead(entry.within, std::move(host));
}

const GeneralName* SubtreeIndex::base(std::size_t at) const {
  return at == PrefixSet::kNone ? nullptr : &subtrees_[at].base;
}

const GeneralName* SubtreeIndex::notUnderstood(Kind kind) const {
  return base(of(kind).notUnderstood);
}

const GeneralName* SubtreeIndex::find(const ConstrainedName& name) const {
  const OfKind& entry = of(name.kind);
  const std::string& key = *name.key;
  // Whoever is excluded is not let in by writing the mailbox in capitals.
  const bool folds = name.kind == Kind::email && role_ == Role::excluded;
  std::size_t at = entry.within.findPrefixOf(folds ? lowerCase(key) : key);
  if (at == PrefixSet::kNone && name.kind != Kind::address && name.kind != Kind::directory) {
    at = entry.below.findProperPrefixOf(hostPart(key));
  }
  if (at != PrefixSet::kNone || name.kind != Kind::dns || role_ == Role::permitted) return base(at);

  const std::optional<std::string_view> domain = wildcardDomain(key);
  if (!domain) return nullptr;
  at = entry.within.findStartingWith(*domain);
  return base(at != PrefixSet::kNone ? at : entry.below.findStartingWith(*domain));
}
