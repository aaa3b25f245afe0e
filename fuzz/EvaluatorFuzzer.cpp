// The judge of chains. The input is a row of DER elements: [0] holds a certificate of the chain,
// the leaf first; [1], [2] and [3] an anchor: unrestricted, for servers, refused; [4] a revocation
// list; and a primitive [5] one byte of settings. The verdict must not depend on anything but the
// bytes, and a good one must stand up to OpenSSL.

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <openssl/err.h>
#include <openssl/x509.h>

#include "fuzz/FixedKey.h"
#include "fuzz/OddParts.h"
#include "fuzz/Property.h"
#include "services/certmgr/AnswerNames.h"
#include "services/certmgr/Evaluator.h"
#include "services/common/OpenSslOwners.h"
#include "services/common/PrintableText.h"

namespace {

using StorePtr = std::shared_ptr<const TrustStore>;

constexpr std::array<std::int64_t, 4> kMoments = {
    1767225600,  // 2026, when everything made for tests is in force
    1546300800,  // 2019, before it was
    4102444800,  // 2100, after it was
    2524607999,  // the last second of 2049
};

struct Input {
  std::vector<std::string> chain;
  std::vector<Anchor> anchors;
  std::vector<RevocationListPtr> lists;
  bool isSignedAnew = false;
  std::int64_t now = kMoments[0];
};

class InputReader {
 public:
  explicit InputReader(std::string_view bytes) {
    try {
      for (DerReader reader(bytes); !reader.atEnd();) add(reader.take());
    } catch (const DerError&) {
      // What was read before stands.
    }
  }

  Input input;

 private:
  void add(const DerReader::Element& element) {
    constexpr std::size_t kMost = 24;
    if (++elements_ > kMost) return;
    switch (element.tag) {
      case DerReader::context(0, true):
        input.chain.push_back(bytesOf(element));
        return;
      case DerReader::context(1, true):
        return addAnchor(element, Anchor::Use::unrestricted);
      case DerReader::context(2, true):
        return addAnchor(element, Anchor::Use::server);
      case DerReader::context(3, true):
        return addAnchor(element, Anchor::Use::refused);
      case DerReader::context(4, true):
        return addList(element);
      case DerReader::context(5):
        return set(element.content.empty() ? 0U : static_cast<unsigned char>(element.content[0]));
      default:
        return;
    }
  }

  void set(unsigned settings) {
    input.isSignedAnew = (settings & 1U) != 0;
    input.now = kMoments.at(settings >> 1U & 3U);
  }

  std::string bytesOf(const DerReader::Element& element) const {
    return input.isSignedAnew ? signedAnew(element.content) : std::string(element.content);
  }

  void addAnchor(const DerReader::Element& element, Anchor::Use use) {
    try {
      input.anchors.push_back({ParsedCertificate::parse(bytesOf(element)), use});
    } catch (const DerError&) {
      // Stores skip what is none.
    }
  }
  void addList(const DerReader::Element& element) {
    try {
      input.lists.push_back(RevocationList::parse(bytesOf(element)));
    } catch (const DerError&) {
      // Stores skip what is none.
    }
  }

  std::size_t elements_ = 0;
};

StorePtr storeOf(const Input& input, bool listsReversed) {
  auto store = std::make_shared<TrustStore>();
  for (const Anchor& anchor : input.anchors) store->add(anchor);
  std::vector<RevocationListPtr> lists = input.lists;
  if (listsReversed) std::reverse(lists.begin(), lists.end());
  for (const RevocationListPtr& list : lists) store->add(list);
  return store;
}

bool isSame(const Evaluation& one, const Evaluation& other) {
  const auto isSameMember = [](const CertificatePtr& a, const CertificatePtr& b) {
    return a->fingerprint == b->fingerprint;
  };
  return one.endsInAnchor == other.endsInAnchor && one.gaveUp == other.gaveUp &&
         one.findings == other.findings && one.from == other.from && one.until == other.until &&
         one.pathsTried == other.pathsTried &&
         std::equal(one.path.begin(), one.path.end(), other.path.begin(), other.path.end(),
                    isSameMember);
}

// Of two judged at different moments.
bool isSameVerdict(Evaluation one, const Evaluation& other) {
  one.from = other.from;
  one.until = other.until;
  return isSame(one, other);
}

// Nothing in it acts on a terminal, nor would be escaped.
bool isPrintable(std::string text) {
  std::replace(text.begin(), text.end(), '\\', '/');
  return hasNoControls(text) && escapeText(text) == text;
}

void checkFindings(const Evaluation& evaluation) {
  require(std::is_sorted(evaluation.findings.begin(), evaluation.findings.end()),
          "findings are sorted");
  for (const Finding& finding : evaluation.findings) {
    require(finding.member < evaluation.path.size(), "a finding is about a member of the path");
    require(isPrintable(finding.evidence), "evidence is printable");
  }
  require(evaluation.isValid() == evaluation.findings.empty(), "no finding, no fault");
  require(evaluation.isValid() == (evaluation.warnings() == 0), "no finding, no warning");
  require(!evaluation.gaveUp || !evaluation.isValid(), "who gave up found nothing good");
}

void checkNames(const ParsedCertificate& certificate) {
  const std::vector<std::string> common = commonNamesOf(certificate);
  const std::vector<std::string> others = subjectAltNamesOf(certificate);
  require(std::all_of(common.begin(), common.end(), hasNoControls) &&
              std::all_of(others.begin(), others.end(), hasNoControls),
          "no name of the answer holds a control byte");
}

// NULL only for a reason.
X509Ptr openSslsOwn(const ParsedCertificate& certificate) {
  const auto* at = reinterpret_cast<const unsigned char*>(certificate.der.data());
  X509Ptr own(d2i_X509(nullptr, &at, static_cast<long>(certificate.der.size())));
  require(own != nullptr || hasOddName(certificate) || hasOddPart(certificate),
          "what is on a good path is a certificate to OpenSSL, but for odd parts");
  return own;
}

void checkGoodPath(const Evaluation& evaluation, const TrustStore& store) {
  require(evaluation.endsInAnchor, "a good path ends in an anchor");
  const Anchor* anchor = store.find(*evaluation.path.back());
  require(anchor != nullptr && anchor->use != Anchor::Use::refused,
          "a good path ends in an anchor of the store that may vouch for servers");
  for (std::size_t i = 0; i + 1 < evaluation.path.size(); ++i) {
    const X509Ptr subject = openSslsOwn(*evaluation.path[i]);
    const X509Ptr issuer = openSslsOwn(*evaluation.path[i + 1]);
    if (subject == nullptr || issuer == nullptr) continue;
    require(X509_verify(subject.get(), X509_get0_pubkey(issuer.get())) == 1,
            "every signature of a good path verifies");
  }
}

// The leaf stays where it is.
std::vector<std::string> reversed(std::vector<std::string> chain) {
  std::reverse(chain.begin() + 1, chain.end());
  return chain;
}
std::vector<std::string> rotated(std::vector<std::string> chain) {
  if (chain.size() > 2) std::rotate(chain.begin() + 1, chain.begin() + 2, chain.end());
  return chain;
}

void checkOrderAndMemory(const Input& input, const StorePtr& store, Evaluator& evaluator,
                         const Evaluation& first) {
  const Verdict second = evaluator.evaluate(rotated(input.chain), store, input.now);
  require(second.remembered && isSame(first, *second.evaluation), "a verdict is remembered");
  const StorePtr twin = storeOf(input, true);
  const Verdict anew = Evaluator().evaluate(reversed(input.chain), twin, input.now);
  require(!anew.remembered && isSame(first, *anew.evaluation),
          "neither order nor memory changes a verdict");
}

void checkMoments(const Input& input, const StorePtr& store, Evaluator& evaluator,
                  const Evaluation& first) {
  require(first.from <= input.now && input.now < first.until, "a verdict holds when it is made");
  for (const std::int64_t moment : {first.from, first.until - 1}) {
    constexpr std::int64_t kFarAway = std::int64_t{1} << 60;
    if (moment < -kFarAway || moment > kFarAway) continue;
    evaluator.forget();
    const Verdict then = evaluator.evaluate(input.chain, store, moment);
    require(isSameVerdict(first, *then.evaluation), "a verdict is the same as long as it holds");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const Input input = InputReader({reinterpret_cast<const char*>(data), size}).input;
  if (input.chain.empty()) return 0;
  const StorePtr store = storeOf(input, false);
  Evaluator evaluator;
  try {
    const Evaluation first = *evaluator.evaluate(input.chain, store, input.now).evaluation;
    checkFindings(first);
    for (const CertificatePtr& member : first.path) checkNames(*member);
    checkOrderAndMemory(input, store, evaluator, first);
    checkMoments(input, store, evaluator, first);
    if (first.isValid()) checkGoodPath(first, *store);
  } catch (const UnreadableCertificate& error) {
    require(error.place() < input.chain.size(), "what cannot be read is one of the chain");
  }
  ERR_clear_error();
  return 0;
}
