#include "tests/services/certmgr/differential/ChainMaker.h"

#include <string>
#include <string_view>
#include <utility>

#include "tests/services/certmgr/differential/Member.h"

namespace {

class Assembly {
 public:
  Assembly(const World& world, Random& random) : world_(world), random_(random) {}

  MadeChain make() {
    const TestCertificate root = pickRoot();
    planMembers(root);
    mutate();
    opposeConstraints();
    spoilBothPaths();
    demandPolicy();
    build(root);
    addOthers(root);
    return std::move(made_);
  }

 private:
  void note(const std::string& feature) { made_.features.insert(feature); }

  TestCertificate pickRoot() {
    if (random_.percent(4)) {
      note("root:stranger");
      return random_.pick(world_.strangers);
    }
    unsigned sum = 0;
    for (const World::Root& root : world_.anchors) sum += root.weight;
    std::size_t at = random_.below(sum);
    for (const World::Root& root : world_.anchors) {
      if (at < root.weight) {
        note("anchor:" + root.name);
        return root.certificate;
      }
      at -= root.weight;
    }
    return world_.anchors.front().certificate;
  }

  // Keys of one chain differ from each other; those at the end of a pool are the roots'.
  TestKey pickKey(std::size_t place) {
    const KeyPool& keys = world_.keys;
    if (otherKeys_ == nullptr) return keys.edwards[(2 * place) + random_.below(2)];
    return (*otherKeys_)[place];
  }

  void planMembers(const TestCertificate& root) {
    if (random_.percent(25)) {
      otherKeys_ = random_.percent(50) ? &world_.keys.curve : &world_.keys.rsa;
    }
    const std::size_t count = 1 + random_.below(4);
    note("members:" + std::to_string(count));
    // From the top.
    Bytes issuerId = identifierOf(root.key());
    for (std::size_t place = 0; place < count; ++place) {
      const bool isLeaf = place + 1 == count;
      Member member(pickKey(place));
      CertificateMaker& maker = member.maker;
      maker.organization("Example");
      if (isLeaf) {
        maker.commonName("host.example").dns("host.example").asServer();
        addNames(maker);
      } else {
        maker.commonName("Inter " + std::to_string(place)).asCa();
      }
      maker.key(member.key).serial(serial());
      if (random_.percent(80)) {
        maker.subjectKeyId(identifierOf(member.key)).authorityKeyId(issuerId);
      } else {
        note("no-key-identifiers");
      }
      issuerId = identifierOf(member.key);
      members_.push_back(std::move(member));
    }
    sound_ = members_;
  }

  void addNames(CertificateMaker& maker) {
    if (!random_.percent(20)) return;
    note("many-names");
    maker.uri("https://host.example/x").email("someone@example").ip("10.1.2.3");
  }

  Bytes serial() {
    Bytes bytes(8);
    for (unsigned char& byte : bytes) byte = static_cast<unsigned char>(random_.below(256));
    bytes.front() = static_cast<unsigned char>(1 + random_.below(127));
    return bytes;
  }

  void mutate() {
    static constexpr unsigned kCounts[] = {0, 1, 1, 1, 1, 2, 2, 3};
    for (unsigned left = kCounts[random_.below(std::size(kCounts))]; left > 0; --left) {
      const Mutation& mutation = random_.pick(mutations());
      const std::size_t authorities = members_.size() - 1;
      if (mutation.target == Mutation::Target::authority && authorities == 0) continue;
      std::size_t place = random_.below(members_.size());
      if (mutation.target == Mutation::Target::leaf) place = authorities;
      if (mutation.target == Mutation::Target::authority) place = random_.below(authorities);
      apply(place, mutation);
    }
  }

  void apply(std::size_t place, const Mutation& mutation) {
    mutation.apply(members_[place], world_, random_);
    const bool isLeaf = place + 1 == members_.size();
    note(std::string(isLeaf ? "leaf:" : "authority:") + mutation.name);
  }
  void apply(std::size_t place, std::string_view name) {
    for (const Mutation& mutation : mutations()) {
      if (mutation.name == name) apply(place, mutation);
    }
  }

  // One issuer excludes what one below it permits.
  void opposeConstraints() {
    if (members_.size() < 3 || !random_.percent(3)) return;
    note("authorities:opposed-constraints");
    members_[0].maker.nameConstraints("critical,excluded;DNS:other");
    members_[1].maker.nameConstraints("critical,permitted;DNS:other");
  }

  // An explicit policy is demanded, and is there.
  void demandPolicy() {
    if (members_.size() < 2 || !random_.percent(3)) return;
    for (std::size_t place = 0; place < members_.size(); ++place) apply(place, "policy");
    apply(0, "requires-policy");
  }

  // One path is bad for what only we look at, and so is the other for something else.
  void spoilBothPaths() {
    twoBadPaths_ = members_.size() > 2 && random_.percent(3);
    if (twoBadPaths_) apply(0, "permits-other-directory");
  }

  // The certificate that issues others, and the bytes that are sent.
  struct Built {
    TestCertificate certificate;
    std::string der;
  };

  Built buildOne(const Member& member, const TestCertificate& issuer) {
    const TestKey signer = member.signer.value_or(issuer.key());
    const std::string digest = signsWithoutDigest(signer) ? "" : member.digest;
    CertificateMaker maker = member.maker;
    maker.issuedBy(issuer).signedWith(signer).digest(digest);
    Built built{maker.make(), {}};
    CertificateParts parts(built.certificate.derString());
    if (member.beforeSigning) {
      member.beforeSigning(parts, random_);
      parts.signAgain(signer, digest.c_str());
    }
    if (member.afterSigning) member.afterSigning(parts, random_);
    built.der = parts.join() + member.rest;
    return built;
  }

  void build(const TestCertificate& root) {
    TestCertificate issuer = root;
    for (std::size_t place = 0; place < members_.size(); ++place) {
      issuers_.push_back(issuer);
      Built built = buildOne(members_[place], issuer);
      made_.certificates.insert(made_.certificates.begin(), built.der);
      issuer = std::move(built.certificate);
    }
  }

  enum class Alternative {
    expired,
    renewed,
    crossSigned,
    byStranger,
    ofOtherKey,
    forClients,
    byOneBelow,
  };
  static constexpr std::size_t kAlternatives = 7;

  // Another certificate for an issuer of the chain, as it was before anything was done to it.
  void addAlternative(std::size_t place, Alternative alternative) {
    Member member = sound_[place];
    // What is below it may be signed by the key that the issuer has now.
    member.key = members_[place].key;
    member.maker.key(member.key).serial(serial());
    TestCertificate issuer = issuers_[place];
    std::string kind;
    switch (alternative) {
      case Alternative::expired:
        kind = "expired";
        member.maker.notAfter("20211231235959Z");
        break;
      case Alternative::renewed:
        kind = "renewed";
        member.maker.notAfter("20491231235959Z");
        break;
      case Alternative::crossSigned:
        kind = "cross-signed";
        issuer = world_.anchors[1].certificate;
        member.maker.authorityKeyId(identifierOf(issuer.key()));
        break;
      case Alternative::byStranger:
        kind = "by-stranger";
        issuer = world_.strangers.front();
        member.maker.authorityKeyId(identifierOf(issuer.key()));
        break;
      case Alternative::ofOtherKey:
        kind = "of-other-key";
        member.key = world_.keys.edwards[8 + random_.below(4)];
        member.maker.key(member.key).subjectKeyId(identifierOf(member.key));
        break;
      case Alternative::forClients:
        kind = "for-clients";
        member.maker.extendedKeyUsage("clientAuth");
        break;
      case Alternative::byOneBelow:
        kind = "by-one-below";
        issuer = issuers_.back();
        member.maker.authorityKeyId(identifierOf(issuer.key()));
        break;
    }
    note("alternative:" + kind);
    made_.certificates.push_back(buildOne(member, issuer).der);
  }

  void addOthers(const TestCertificate& root) {
    if (twoBadPaths_) addAlternative(0, Alternative::forClients);
    if (members_.size() > 1) {
      for (unsigned left = random_.percent(30) ? 1 + random_.below(2) : 0; left > 0; --left) {
        // In this order: that of arguments differs from target to target.
        const auto alternative = static_cast<Alternative>(random_.below(kAlternatives));
        addAlternative(random_.below(members_.size() - 1), alternative);
      }
    }
    if (random_.percent(15)) {
      note("with-root");
      made_.certificates.push_back(root.derString());
    }
    if (random_.percent(6)) {
      note("with-stranger");
      made_.certificates.push_back(random_.pick(world_.strangers).derString());
    }
    if (random_.percent(6)) {
      note("with-duplicate");
      made_.certificates.push_back(random_.pick(made_.certificates));
    }
    if (made_.certificates.size() > 1 && random_.percent(3)) {
      note("without-one");
      made_.certificates.erase(
          made_.certificates.begin() + 1 +
          static_cast<std::ptrdiff_t>(random_.below(made_.certificates.size() - 1)));
    }
    if (made_.certificates.size() > 2 && random_.percent(25)) {
      note("shuffled");
      random_.shuffle(made_.certificates, 1);
    }
  }

  const World& world_;
  Random& random_;
  const std::vector<TestKey>* otherKeys_ = nullptr;
  std::vector<Member> members_;           // from the top
  std::vector<Member> sound_;             // before anything was done to them
  std::vector<TestCertificate> issuers_;  // of each
  bool twoBadPaths_ = false;
  MadeChain made_;
};

}  // namespace

MadeChain makeChain(const World& world, Random& random) {
  return Assembly(world, random).make();
}
