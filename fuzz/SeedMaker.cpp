// Writes the seeds that are DER. Those for the evaluator that are signed with the fixed key come
// out the same every time; the others differ in keys and signatures.

#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include "fuzz/FixedKey.h"
#include "services/certmgr/path/DerReader.h"
#include "services/common/OpenSslOwners.h"
#include "tests/support/CertificateMaker.h"

namespace {

namespace fs = std::filesystem;

enum class Role : unsigned { chain, anchor, serverAnchor, refusedAnchor, list, settings };

std::string element(unsigned char tag, const std::string& content) {
  std::string out(1, static_cast<char>(tag));
  if (content.size() >= 0x100) {
    out += "\x82";
    out += static_cast<char>(content.size() >> 8U & 0xffU);
  } else if (content.size() >= 0x80) {
    out += "\x81";
  }
  out += static_cast<char>(content.size() & 0xffU);
  return out + content;
}

void save(const fs::path& path, const std::string& bytes) {
  fs::create_directories(path.parent_path());
  std::ofstream file(path, std::ios::binary);
  file << bytes;
  if (!file.flush()) throw std::runtime_error("cannot write " + path.string());
}

// The certificate with the fixed key instead of its own and its issuer's.
std::string withFixedKey(const TestCertificate& made) {
  const FixedKeyPtr key = makeFixedKey();
  const X509Ptr copy(X509_dup(made.get()));
  X509_set_pubkey(copy.get(), key.get());
  if (X509_sign(copy.get(), key.get(), nullptr) <= 0) throw std::runtime_error("cannot sign");
  unsigned char* der = nullptr;
  const int size = i2d_X509(copy.get(), &der);
  std::string out(reinterpret_cast<char*>(der), static_cast<std::size_t>(size));
  OPENSSL_free(der);
  return out;
}

std::string withFixedKey(const CrlMaker& maker) {
  const Bytes bytes = maker.der();
  const auto* at = bytes.data();
  const X509CrlPtr list(d2i_X509_CRL(nullptr, &at, static_cast<long>(bytes.size())));
  const FixedKeyPtr key = makeFixedKey();
  if (X509_CRL_sign(list.get(), key.get(), nullptr) <= 0) throw std::runtime_error("cannot sign");
  unsigned char* der = nullptr;
  const int size = i2d_X509_CRL(list.get(), &der);
  std::string out(reinterpret_cast<char*>(der), static_cast<std::size_t>(size));
  OPENSSL_free(der);
  return out;
}

// One seed of the evaluator.
class Scene {
 public:
  // Everything is signed with the fixed key.
  static Scene withFixedKeys(unsigned moment = 0) {
    Scene scene(true);
    scene.bytes_ =
        element(DerReader::context(5), std::string(1, static_cast<char>(1U | moment << 1U)));
    return scene;
  }
  static Scene withOwnKeys() { return Scene(false); }

  Scene& add(Role role, const TestCertificate& certificate) {
    bytes_ += element(DerReader::context(static_cast<unsigned>(role), true),
                      isFixed_ ? withFixedKey(certificate) : certificate.derString());
    return *this;
  }
  Scene& add(const CrlMaker& maker) {
    const Bytes der = maker.der();
    bytes_ += element(DerReader::context(static_cast<unsigned>(Role::list), true),
                      isFixed_ ? withFixedKey(maker) : std::string(der.begin(), der.end()));
    return *this;
  }
  const std::string& bytes() const { return bytes_; }

 private:
  explicit Scene(bool isFixed) : isFixed_(isFixed) {}

  bool isFixed_;
  std::string bytes_;
};

CertificateMaker server(const TestCertificate& issuer) {
  CertificateMaker maker("leaf.example");
  maker.asServer().dns("leaf.example").issuedBy(issuer);
  return maker;
}

CertificateMaker authority(const char* name) {
  CertificateMaker maker(name);
  maker.asCa();
  return maker;
}

// Policies as OpenSSL's configuration text, which can name them only with a file of its own.
constexpr const char* kPolicy4 = "DER:30:07:30:05:06:03:2a:03:04";
constexpr const char* kPolicy5 = "DER:30:07:30:05:06:03:2a:03:05";
constexpr const char* kPolicy6 = "DER:30:07:30:05:06:03:2a:03:06";
constexpr const char* kAnyPolicy = "DER:30:08:30:06:06:04:55:1d:20:00";

class Seeds {
 public:
  explicit Seeds(fs::path folder) : folder_(std::move(folder)) {}

  void saveAll() const {
    saveCertificates();
    saveChains();
    saveConstraints();
    savePolicies();
    saveLists();
    saveOddities();
  }

 private:
  void certificate(const char* name, const std::string& der) const {
    save(folder_ / "certificate" / name, der);
  }
  void scene(const char* name, const Scene& scene) const {
    save(folder_ / "evaluator" / name, scene.bytes());
  }
  Scene chainOf(const TestCertificate& leaf, const TestCertificate& between) const {
    return Scene::withFixedKeys()
        .add(Role::chain, leaf)
        .add(Role::chain, between)
        .add(Role::anchor, root_);
  }

  void saveCertificates() const {
    certificate("authority", withFixedKey(inter_));
    certificate("server_ec", server(inter_).make().derString());
    certificate("server_rsa", server(inter_).key(TestKey::makeRsa()).make().derString());
    certificate("version_1", withFixedKey(CertificateMaker("old.example").version1().make()));
    certificate("empty_subject", withFixedKey(CertificateMaker().dns("a.example").make()));
    certificate("negative_serial",
                withFixedKey(CertificateMaker("a").serial({0x80, 1}, true).make()));
    certificate("malformed_end", withFixedKey(CertificateMaker("a").malformedNotAfter().make()));
    certificate("every_kind_of_name", withFixedKey(CertificateMaker("leaf.example")
                                                       .organization("Maker")
                                                       .dns("*.example")
                                                       .ip("192.0.2.1")
                                                       .ip("2001:db8::1")
                                                       .uri("https://a.example/")
                                                       .email("joe@a.example")
                                                       .make()));
    certificate("wide_common_name",
                withFixedKey(CertificateMaker()
                                 .rawCommonName(std::string("\0a\0.\0b", 6), V_ASN1_BMPSTRING)
                                 .rawCommonName("a\xe9", V_ASN1_T61STRING)
                                 .issuerCommonName("A  b ")
                                 .make()));
    certificate("nul_in_name",
                withFixedKey(CertificateMaker("a").dns(std::string("a.example\0.b", 12)).make()));
    certificate("same_name_in_another_case",
                withFixedKey(CertificateMaker("Some  Name").issuerCommonName("some name ").make()));
    certificate(
        "many_extensions",
        withFixedKey(CertificateMaker("Many")
                         .asCa(3)
                         .extendedKeyUsage("serverAuth,clientAuth")
                         .nameConstraints("critical,permitted;DNS:example,excluded;"
                                          "IP:10.0.0.0/255.0.0.0,excluded;email:b.example")
                         .extension("certificatePolicies", kPolicy4)
                         .extension("policyMappings", "1.2.3.4:1.2.3.5")
                         .extension("policyConstraints",
                                    "critical,requireExplicitPolicy:1,inhibitPolicyMapping:0")
                         .extension("inhibitAnyPolicy", "2")
                         .extension("crlDistributionPoints", "URI:http://a.example/list")
                         .subjectKeyId({1, 2, 3})
                         .authorityKeyId({4, 5, 6})
                         .unknownExtension(true)
                         .make()));
  }

  void saveChains() const {
    const TestCertificate leaf = server(inter_).make();
    scene("good_chain", chainOf(leaf, inter_));
    scene("good_chain_own_keys", Scene::withOwnKeys()
                                     .add(Role::chain, leaf)
                                     .add(Role::chain, inter_)
                                     .add(Role::anchor, root_));
    scene("good_chain_expired", Scene::withFixedKeys(2)
                                    .add(Role::chain, leaf)
                                    .add(Role::chain, inter_)
                                    .add(Role::anchor, root_));
    scene("good_chain_not_yet_valid", Scene::withFixedKeys(1)
                                          .add(Role::chain, leaf)
                                          .add(Role::chain, inter_)
                                          .add(Role::anchor, root_));
    scene("no_anchor", Scene::withFixedKeys().add(Role::chain, leaf).add(Role::chain, inter_));
    scene("anchor_refused", Scene::withFixedKeys()
                                .add(Role::chain, leaf)
                                .add(Role::chain, inter_)
                                .add(Role::refusedAnchor, root_));
    scene("leaf_is_anchor",
          Scene::withFixedKeys().add(Role::chain, leaf).add(Role::serverAnchor, leaf));
    const TestCertificate other = authority("Other Root").make();
    const TestCertificate crossed = authority("Inter").serial({9}).issuedBy(other).make();
    const TestCertificate old =
        authority("Inter").serial({8}).notAfter("20210101000000Z").issuedBy(root_).make();
    scene("several_issuers", Scene::withFixedKeys()
                                 .add(Role::chain, leaf)
                                 .add(Role::chain, old)
                                 .add(Role::chain, crossed)
                                 .add(Role::chain, inter_)
                                 .add(Role::anchor, root_));
    const TestCertificate a = authority("A").issuerCommonName("B").make();
    const TestCertificate b = authority("B").issuerCommonName("A").make();
    scene("circle", Scene::withFixedKeys()
                        .add(Role::chain, server(a).make())
                        .add(Role::chain, a)
                        .add(Role::chain, b)
                        .add(Role::anchor, root_));
    scene("signature_of_another_key",
          Scene::withOwnKeys()
              .add(Role::chain, server(inter_).signedWith(TestKey::makeEc()).make())
              .add(Role::chain, inter_)
              .add(Role::anchor, root_));
    scene("weak_digest", Scene::withOwnKeys()
                             .add(Role::chain, server(inter_).digest("SHA1").make())
                             .add(Role::chain, inter_)
                             .add(Role::anchor, root_));
    const TestCertificate rsa = authority("RSA Root").key(TestKey::makeRsa()).make();
    scene("rsa_chain",
          Scene::withOwnKeys().add(Role::chain, server(rsa).make()).add(Role::anchor, rsa));
  }

  void saveConstraints() const {
    const TestCertificate limited =
        authority("Limited")
            .nameConstraints("critical,permitted;DNS:example,excluded;DNS:b.example")
            .issuedBy(root_)
            .make();
    scene("names_permitted", chainOf(server(limited).make(), limited));
    scene("names_excluded", chainOf(server(limited).dns("a.b.example").make(), limited));
    const TestCertificate addresses =
        authority("Addresses")
            .nameConstraints(
                "critical,permitted;IP:192.0.2.0/255.255.255.0,permitted;"
                "email:a.example,excluded;URI:.b.example")
            .issuedBy(root_)
            .make();
    scene("addresses_permitted", chainOf(server(addresses)
                                             .ip("192.0.2.7")
                                             .email("joe@a.example")
                                             .uri("https://c.example/")
                                             .make(),
                                         addresses));
    const TestCertificate shallow = authority("Shallow").asCa(0).issuedBy(root_).make();
    const TestCertificate below = authority("Below").issuedBy(shallow).make();
    scene("path_too_long", Scene::withFixedKeys()
                               .add(Role::chain, server(below).make())
                               .add(Role::chain, below)
                               .add(Role::chain, shallow)
                               .add(Role::anchor, root_));
    const TestCertificate mail =
        authority("Mail").extendedKeyUsage("emailProtection").issuedBy(root_).make();
    scene("other_purpose", chainOf(server(mail).make(), mail));
    const TestCertificate unknown = authority("Odd").unknownExtension(true).issuedBy(root_).make();
    scene("unknown_critical_extension", chainOf(server(unknown).make(), unknown));
  }

  void savePolicies() const {
    const TestCertificate strict =
        authority("Strict")
            .extension("certificatePolicies", kPolicy4)
            .extension("policyMappings", "1.2.3.4:1.2.3.5")
            .extension("policyConstraints", "critical,requireExplicitPolicy:0")
            .issuedBy(root_)
            .make();
    scene("policy_mapped",
          chainOf(server(strict).extension("certificatePolicies", kPolicy5).make(), strict));
    scene("policy_missing",
          chainOf(server(strict).extension("certificatePolicies", kPolicy6).make(), strict));
    const TestCertificate any = authority("Any")
                                    .extension("certificatePolicies", kAnyPolicy)
                                    .extension("inhibitAnyPolicy", "critical,0")
                                    .extension("policyConstraints", "requireExplicitPolicy:1")
                                    .issuedBy(root_)
                                    .make();
    scene("any_policy_inhibited",
          chainOf(server(any).extension("certificatePolicies", kAnyPolicy).make(), any));
  }

  void saveLists() const {
    const TestCertificate leaf = server(inter_).serial({7}).make();
    scene("revoked", chainOf(leaf, inter_).add(CrlMaker(inter_).revoke(leaf)));
    scene("not_on_the_list",
          chainOf(leaf, inter_).add(CrlMaker(inter_).revoke(server(inter_).serial({8}).make())));
    scene("list_out_of_date",
          chainOf(leaf, inter_).add(CrlMaker(inter_).revoke(leaf).nextUpdate("20210101000000Z")));
    scene("issuer_revoked", chainOf(leaf, inter_).add(CrlMaker(root_).revoke(inter_)));
    scene("revoked_own_keys", Scene::withOwnKeys()
                                  .add(Role::chain, leaf)
                                  .add(Role::chain, inter_)
                                  .add(Role::anchor, root_)
                                  .add(CrlMaker(inter_).revoke(leaf)));
  }

  void saveOddities() const {
    const TestCertificate leaf =
        server(inter_)
            .rawCommonName(std::string("a\0b\n\x1b[2J\xe2\x80\xae", 11), V_ASN1_UTF8STRING)
            .dns(std::string("a.example\0.b", 12))
            .make();
    scene("control_bytes_in_names", chainOf(leaf, inter_));
    const TestCertificate odd = CertificateMaker(std::string("Odd\x1b[2J\xe2\x80\xaeroot"))
                                    .keyUsage("digitalSignature")
                                    .make();
    scene("control_bytes_in_evidence",
          Scene::withFixedKeys().add(Role::chain, server(odd).make()).add(Role::chain, odd));
    scene("malformed_end", chainOf(server(inter_).malformedNotAfter().make(), inter_));
    scene("leaf_is_no_certificate", Scene::withFixedKeys().add(Role::anchor, root_));
  }

  fs::path folder_;
  TestCertificate root_ = authority("Root").make();
  TestCertificate inter_ = authority("Inter").serial({2}).issuedBy(root_).make();
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: " << argv[0] << " fuzz/seeds\n";
    return 2;
  }
  try {
    Seeds(argv[1]).saveAll();
  } catch (const std::exception& error) {
    std::cerr << argv[0] << ": " << error.what() << "\n";
    return 1;
  }
  return 0;
}
