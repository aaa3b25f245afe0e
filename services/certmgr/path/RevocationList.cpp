#include "services/certmgr/path/RevocationList.h"

#include <algorithm>
#include <limits>
#include <set>
#include <utility>

#include "services/certmgr/path/CertificateExtensions.h"
#include "services/certmgr/path/DerReader.h"
#include "services/certmgr/path/DerTime.h"
#include "services/certmgr/path/Digest.h"

namespace {

using namespace std::string_view_literals;

constexpr std::string_view kIssuerAltName = "\x55\x1d\x12"sv;
constexpr std::string_view kListNumber = "\x55\x1d\x14"sv;
constexpr std::string_view kReasonCode = "\x55\x1d\x15"sv;
constexpr std::string_view kHoldInstruction = "\x55\x1d\x17"sv;
constexpr std::string_view kInvalidityDate = "\x55\x1d\x18"sv;
constexpr std::string_view kDeltaIndicator = "\x55\x1d\x1b"sv;
constexpr std::string_view kIssuingPoint = "\x55\x1d\x1c"sv;
constexpr std::string_view kCertificateIssuer = "\x55\x1d\x1d"sv;
constexpr std::string_view kAuthorityKey = "\x55\x1d\x23"sv;
constexpr std::string_view kFreshestList = "\x55\x1d\x2e"sv;
constexpr std::string_view kAuthorityAccess = "\x2b\x06\x01\x05\x05\x07\x01\x01"sv;

// Those which do not change what the list or entry says about a certificate.
constexpr std::string_view kHarmless[] = {kIssuerAltName,   kAuthorityKey,    kFreshestList,
                                          kAuthorityAccess, kHoldInstruction, kInvalidityDate};

bool isHarmless(std::string_view oid) {
  return std::find(std::begin(kHarmless), std::end(kHarmless), oid) != std::end(kHarmless);
}

// Without the bytes that DER would not have written: some certificates have them, and what is
// meant is the number.
std::string_view shortest(std::string_view integer) {
  while (integer.size() > 1) {
    const auto first = static_cast<unsigned char>(integer[0]);
    const bool isNegative = static_cast<unsigned char>(integer[1]) >= 0x80;
    if (first != (isNegative ? 0xff : 0)) break;
    integer.remove_prefix(1);
  }
  return integer;
}

std::string_view notNegative(std::string_view value) {
  const std::string_view number = derContent(value, DerReader::kInteger);
  (void)derNumber(number, 0);  // throws if it is none
  return number;
}

// One entry of a list, or what can be told of it without reading it in full.
struct Entry {
  std::string_view serial;
  DerReader::Element date;
  std::optional<unsigned> reason;
  std::string_view issuer;   // a GeneralNames element, or none
  std::string_view unknown;  // a critical extension that nobody understands, or none
};

Entry readEntry(std::string_view content) {
  DerReader parts(content);
  Entry entry;
  entry.serial = parts.content(DerReader::kInteger);
  if (entry.serial.empty()) throw DerError("an INTEGER is empty");
  entry.date = parts.take();
  if (!parts.atEnd()) {
    for (DerReader list(parts.content(DerReader::kSequence)); !list.atEnd();) {
      const Extension extension = takeExtension(list);
      if (extension.oid == kReasonCode) {
        const std::string_view reason = derContent(extension.value, DerReader::kEnumerated);
        if (reason.size() != 1) throw DerError("a reason is none");
        entry.reason = static_cast<unsigned char>(reason.front());
      } else if (extension.oid == kCertificateIssuer) {
        entry.issuer = extension.value;
      } else if (extension.critical && !isHarmless(extension.oid)) {
        entry.unknown = extension.oid;
      }
    }
  }
  parts.expectEnd();
  return entry;
}

std::vector<DistinguishedName> directoryNames(std::string_view generalNames) {
  std::vector<DistinguishedName> found;
  for (const GeneralName& name : readGeneralNames(derContent(generalNames, DerReader::kSequence))) {
    if (name.kind == GeneralName::Kind::directory) found.emplace_back(name.bytes);
  }
  return found;
}

bool takeFlag(DerReader& parts, unsigned number) {
  const unsigned char tag = DerReader::context(number);
  return parts.nextIs(tag) && derBoolean(parts.content(tag));
}

IssuingPoint readIssuingPoint(std::string_view value) {
  DerReader parts(derContent(value, DerReader::kSequence));
  IssuingPoint point;
  point.der = value;
  if (parts.nextIs(DerReader::context(0, true))) {
    DistributionPointName name =
        readDistributionPointName(parts.content(DerReader::context(0, true)));
    point.hasName = true;
    point.names = std::move(name.names);
    point.relativeName = name.relativeName;
  }
  point.onlyUserCertificates = takeFlag(parts, 1);
  point.onlyCaCertificates = takeFlag(parts, 2);
  // A list for some reasons only is still right about those it lists.
  if (parts.nextIs(DerReader::context(3))) parts.take();
  point.isIndirect = takeFlag(parts, 4);
  point.onlyAttributeCertificates = takeFlag(parts, 5);
  parts.expectEnd();
  return point;
}

}  // namespace

// Fills a list from its bytes.
class RevocationList::Reader {
 public:
  explicit Reader(RevocationList& list) : list_(list) {}

  void read() {
    if (list_.der.size() > std::numeric_limits<std::uint32_t>::max()) {
      throw DerError("a revocation list is too long");
    }
    DerReader parts(derContent(list_.der, DerReader::kSequence));
    const DerReader::Element fields = parts.take(DerReader::kSequence);
    SignedBytes& bytes = list_.signedBytes;
    bytes.content = fields.whole;
    bytes.algorithm = parts.take(DerReader::kSequence).whole;
    bytes.signature = derWholeBytes(parts.content(DerReader::kBitString));
    parts.expectEnd();
    readFields(fields.content);
  }

 private:
  static bool nextIsTime(const DerReader& fields) {
    return fields.nextIs(DerReader::kUtcTime) || fields.nextIs(DerReader::kGeneralizedTime);
  }

  void readFields(std::string_view content) {
    DerReader fields(content);
    constexpr unsigned kVersion2 = 1;
    unsigned version = 0;
    if (fields.nextIs(DerReader::kInteger)) {
      version = derNumber(fields.content(DerReader::kInteger), 100);
      if (version != kVersion2) list_.notUnderstood.emplace_back("an unknown version");
    }
    list_.signedBytes.innerAlgorithm = fields.take(DerReader::kSequence).whole;
    list_.issuer = DistinguishedName(fields.take(DerReader::kSequence).whole);
    list_.thisUpdate = secondsOf(fields.take());
    if (nextIsTime(fields)) list_.nextUpdate = secondsOf(fields.take());
    if (fields.nextIs(DerReader::kSequence)) readEntries(fields.content(DerReader::kSequence));
    const unsigned char extensions = DerReader::context(0, true);
    if (fields.nextIs(extensions)) {
      if (version != kVersion2) list_.notUnderstood.emplace_back("extensions without a version");
      readExtensions(derContent(fields.content(extensions), DerReader::kSequence));
    }
    fields.expectEnd();
    const bool isIndirect = list_.issuingPoint && list_.issuingPoint->isIndirect;
    if (namesIssuers_ && !isIndirect) {
      list_.notUnderstood.emplace_back("certificates of others on a list that is not for them");
    }
  }

  void readEntries(std::string_view content) {
    std::string_view issuer;  // holds until another one is named
    for (DerReader list(content); !list.atEnd();) {
      const DerReader::Element element = list.take(DerReader::kSequence);
      const Entry entry = readEntry(element.content);
      if (!entry.unknown.empty() && !hasUnknown_) {
        hasUnknown_ = true;
        list_.notUnderstood.push_back("critical extension " + oidText(entry.unknown) +
                                      " of an entry");
      }
      if (!entry.issuer.empty()) {
        if (directoryNames(entry.issuer).empty()) throw DerError("an entry's issuer has no name");
        issuer = entry.issuer;
        namesIssuers_ = true;
      }
      add(element.whole, shortest(entry.serial), issuer);
    }
    sortEntries();
  }

  // Nearly always the first bytes decide, and reading them once is much quicker than following
  // both places for each comparison.
  void sortEntries() {
    struct Key {
      std::uint64_t start;
      Place place;
    };
    std::vector<Key> keys;
    keys.reserve(list_.entries_.size());
    for (const Place& place : list_.entries_) {
      std::uint64_t start = 0;
      const std::string_view serial = list_.serialOf(place);
      for (std::size_t i = 0; i < sizeof start; ++i) {
        start = start << 8 | (i < serial.size() ? static_cast<unsigned char>(serial[i]) : 0U);
      }
      keys.push_back({start, place});
    }
    std::sort(keys.begin(), keys.end(), [this](const Key& a, const Key& b) {
      if (a.start != b.start) return a.start < b.start;
      const int order = list_.serialOf(a.place).compare(list_.serialOf(b.place));
      return order != 0 ? order < 0 : a.place.entry < b.place.entry;
    });
    std::transform(keys.begin(), keys.end(), list_.entries_.begin(),
                   [](const Key& key) { return key.place; });
  }

  void add(std::string_view entry, std::string_view serial, std::string_view issuer) {
    const auto skip = static_cast<std::size_t>(serial.data() - entry.data());
    constexpr std::size_t kMost = std::numeric_limits<std::uint16_t>::max();
    if (skip > kMost || serial.size() > kMost) throw DerError("a serial number is too long");
    list_.entries_.push_back({offsetOf(entry), issuer.empty() ? 0 : offsetOf(issuer),
                              static_cast<std::uint16_t>(skip),
                              static_cast<std::uint16_t>(serial.size())});
  }

  std::uint32_t offsetOf(std::string_view part) const {
    return static_cast<std::uint32_t>(part.data() - list_.der.data());
  }

  void readExtensions(std::string_view content) {
    std::set<std::string_view> seen;
    for (DerReader list(content); !list.atEnd();) {
      const Extension extension = takeExtension(list);
      if (!seen.insert(extension.oid).second) {
        list_.notUnderstood.push_back(oidText(extension.oid) + " is there twice");
        continue;
      }
      try {
        readExtension(extension);
      } catch (const DerError& error) {
        list_.notUnderstood.push_back(oidText(extension.oid) + ": " + error.what());
      }
    }
  }

  void readExtension(const Extension& extension) {
    if (extension.oid == kListNumber) {
      list_.number = notNegative(extension.value);
    } else if (extension.oid == kDeltaIndicator) {
      list_.baseNumber = notNegative(extension.value);
    } else if (extension.oid == kIssuingPoint) {
      list_.issuingPoint = readIssuingPoint(extension.value);
    } else if (extension.critical && !isHarmless(extension.oid)) {
      list_.notUnderstood.push_back("critical extension " + oidText(extension.oid));
    }
  }

  RevocationList& list_;
  bool namesIssuers_ = false;
  bool hasUnknown_ = false;
};

std::shared_ptr<const RevocationList> RevocationList::parse(std::string der) {
  auto list = std::make_shared<RevocationList>();
  list->der = std::move(der);
  list->fingerprint = sha256Of(list->der);
  Reader(*list).read();
  list->digest = digestOf(list->signedBytes);
  list->signedBytes.digest = list->digest;
  return list;
}

std::string_view RevocationList::serialOf(const Place& place) const {
  return std::string_view(der).substr(place.entry + place.serial, place.serialLength);
}

std::vector<RevocationEntry> RevocationList::find(std::string_view serial) const {
  const std::string_view wanted = shortest(serial);
  std::vector<RevocationEntry> found;
  auto place = std::lower_bound(
      entries_.begin(), entries_.end(), wanted,
      [this](const Place& a, std::string_view number) { return serialOf(a) < number; });
  for (; place != entries_.end() && serialOf(*place) == wanted; ++place) {
    const auto elementAt = [this](std::uint32_t offset) {
      return DerReader(std::string_view(der).substr(offset)).take();
    };
    const Entry entry = readEntry(elementAt(place->entry).content);
    RevocationEntry result;
    result.date = secondsOf(entry.date);
    result.reason = entry.reason;
    if (place->issuer != 0) result.issuers = directoryNames(elementAt(place->issuer).whole);
    found.push_back(std::move(result));
  }
  return found;
}

bool isLowerNumber(std::string_view a, std::string_view b) {
  const std::string_view shortA = shortest(a);
  const std::string_view shortB = shortest(b);
  // The longer of two positive numbers in shortest form is the higher, but for a leading zero,
  // which both of a size have or which only makes the higher one longer still.
  return shortA.size() != shortB.size() ? shortA.size() < shortB.size() : shortA < shortB;
}
