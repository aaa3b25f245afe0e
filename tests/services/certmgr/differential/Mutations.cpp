#include <array>
#include <cstdio>

#include "services/certmgr/path/DerReader.h"
#include "tests/services/certmgr/differential/Member.h"

namespace {

using Target = Mutation::Target;

std::string derText(const std::string& bytes) {
  std::string text = "DER:";
  for (const char byte : bytes) {
    char pair[3];
    (void)snprintf(pair, sizeof pair, "%02X",
                   static_cast<unsigned>(static_cast<unsigned char>(byte)));
    text += pair;
  }
  return text;
}

// The policy 2.999.N of the documentation arc, as the only one.
std::string onePolicy(char number) {
  const std::string oid = derElement(DerReader::kOid, std::string("\x88\x37") + number);
  return derText(derElement(DerReader::kSequence, derElement(DerReader::kSequence, oid)));
}

// Name constraints that permit or exclude (list 0 or 1) the names below "O=...".
std::string directoryConstraint(unsigned list, const std::string& organization) {
  const std::string attribute =
      derElement(DerReader::kOid, "\x55\x04\x0a") + derElement(0x0c, organization);
  const std::string name =
      derElement(DerReader::kSequence,
                 derElement(DerReader::kSet, derElement(DerReader::kSequence, attribute)));
  const std::string subtree =
      derElement(DerReader::kSequence, derElement(DerReader::context(4, true), name));
  return "critical," + derText(derElement(DerReader::kSequence,
                                          derElement(DerReader::context(list, true), subtree)));
}

void flipBit(std::string& bytes, Random& random) {
  auto& byte = bytes[random.below(bytes.size())];
  byte = static_cast<char>(static_cast<unsigned char>(byte) ^ (1U << random.below(8)));
}

// The same algorithm with a NULL as parameters, which is another identifier to the letter.
void changeOuterAlgorithm(CertificateParts& parts, Random& /*random*/) {
  const std::string oid = derElement(
      DerReader::kOid,
      std::string(
          DerReader(derContent(parts.algorithm, DerReader::kSequence)).content(DerReader::kOid)));
  const bool hasNull = parts.algorithm.size() > oid.size() + 2;
  parts.algorithm =
      derElement(DerReader::kSequence, hasNull ? oid : oid + std::string("\x05\x00", 2));
}

// The content has the issuer's name first, and all names here have this word.
void changeCaseOfIssuer(CertificateParts& parts, Random& /*random*/) {
  const auto at = parts.content.find("Example");
  if (at != std::string::npos) parts.content.replace(at, 7, "eXAMPLE");
}

Bytes manyBytes(std::size_t count) {
  return Bytes(count, 0x42);
}

const std::vector<Mutation> kMutations{
    // Times.
    {"expired", Target::any,
     [](Member& m, const World&, Random&) { m.maker.notAfter("20251231235959Z"); }},
    {"not-yet-valid", Target::any,
     [](Member& m, const World&, Random&) { m.maker.notBefore("20260101000001Z"); }},
    {"last-second", Target::any,
     [](Member& m, const World&, Random&) { m.maker.notAfter("20260101000000Z"); }},
    {"first-second", Target::any,
     [](Member& m, const World&, Random&) { m.maker.notBefore("20260101000000Z"); }},
    {"long-past-2050", Target::any,
     [](Member& m, const World&, Random&) { m.maker.notAfter("99991231235959Z"); }},
    {"time-unreadable", Target::any,
     [](Member& m, const World&, Random&) { m.maker.malformedNotAfter(); }},

    // What issuers must be.
    {"no-basic-constraints", Target::authority,
     [](Member& m, const World&, Random&) { m.maker.basicConstraints(""); }},
    {"basic-constraints-not-critical", Target::authority,
     [](Member& m, const World&, Random&) { m.maker.basicConstraints("CA:TRUE"); }},
    {"not-ca", Target::authority,
     [](Member& m, const World&, Random&) { m.maker.basicConstraints("critical,CA:FALSE"); }},
    {"path-length-0", Target::authority,
     [](Member& m, const World&, Random&) {
       m.maker.basicConstraints("critical,CA:TRUE,pathlen:0");
     }},
    {"path-length-1", Target::authority,
     [](Member& m, const World&, Random&) {
       m.maker.basicConstraints("critical,CA:TRUE,pathlen:1");
     }},
    {"authority-without-key-usage", Target::authority,
     [](Member& m, const World&, Random&) { m.maker.keyUsage(""); }},
    {"may-not-sign", Target::authority,
     [](Member& m, const World&, Random&) {
       m.maker.keyUsage("critical,digitalSignature,cRLSign");
     }},
    {"bare-authority", Target::authority,
     [](Member& m, const World&, Random&) { m.maker.basicConstraints("").keyUsage(""); }},
    {"authority-for-servers", Target::authority,
     [](Member& m, const World&, Random&) { m.maker.extendedKeyUsage("serverAuth,clientAuth"); }},
    {"authority-for-clients", Target::authority,
     [](Member& m, const World&, Random&) { m.maker.extendedKeyUsage("clientAuth"); }},
    {"authority-for-any", Target::authority,
     [](Member& m, const World&, Random&) { m.maker.extendedKeyUsage("anyExtendedKeyUsage"); }},

    // What a leaf must be.
    {"leaf-for-clients", Target::leaf,
     [](Member& m, const World&, Random&) { m.maker.extendedKeyUsage("clientAuth"); }},
    {"leaf-for-any", Target::leaf,
     [](Member& m, const World&, Random&) { m.maker.extendedKeyUsage("anyExtendedKeyUsage"); }},
    {"leaf-without-purpose", Target::leaf,
     [](Member& m, const World&, Random&) { m.maker.extendedKeyUsage(""); }},
    {"purpose-critical", Target::leaf,
     [](Member& m, const World&, Random&) { m.maker.extendedKeyUsage("critical,serverAuth"); }},
    {"leaf-without-key-usage", Target::leaf,
     [](Member& m, const World&, Random&) { m.maker.keyUsage(""); }},
    {"leaf-key-encipherment", Target::leaf,
     [](Member& m, const World&, Random&) { m.maker.keyUsage("critical,keyEncipherment"); }},
    {"leaf-key-agreement", Target::leaf,
     [](Member& m, const World&, Random&) { m.maker.keyUsage("critical,keyAgreement"); }},
    {"leaf-only-signs-certificates", Target::leaf,
     [](Member& m, const World&, Random&) { m.maker.keyUsage("critical,keyCertSign"); }},
    {"leaf-only-non-repudiation", Target::leaf,
     [](Member& m, const World&, Random&) { m.maker.keyUsage("critical,nonRepudiation"); }},
    {"leaf-is-authority", Target::leaf,
     [](Member& m, const World&, Random&) { m.maker.basicConstraints("critical,CA:TRUE"); }},
    {"leaf-without-basic-constraints", Target::leaf,
     [](Member& m, const World&, Random&) { m.maker.basicConstraints(""); }},

    // Names and their constraints.
    {"leaf-other-dns", Target::leaf,
     [](Member& m, const World&, Random&) { m.maker.dns("host.other"); }},
    {"leaf-wildcard", Target::leaf,
     [](Member& m, const World&, Random&) { m.maker.dns("*.example"); }},
    {"leaf-dns-with-nul", Target::leaf,
     [](Member& m, const World&, Random&) {
       m.maker.dns(std::string_view("host.example\0.other", 19));
     }},
    {"leaf-address", Target::leaf,
     [](Member& m, const World&, Random&) { m.maker.ip("10.1.2.3"); }},
    {"leaf-other-address", Target::leaf,
     [](Member& m, const World&, Random&) { m.maker.ip("192.0.2.1").ip("2001:db8::1"); }},
    {"leaf-email", Target::leaf,
     [](Member& m, const World&, Random&) { m.maker.email("someone@example"); }},
    {"leaf-other-email", Target::leaf,
     [](Member& m, const World&, Random&) { m.maker.email("someone@host.other"); }},
    {"leaf-uri", Target::leaf,
     [](Member& m, const World&, Random&) { m.maker.uri("https://host.other/x"); }},
    {"permits-dns", Target::authority,
     [](Member& m, const World&, Random&) {
       m.maker.nameConstraints("critical,permitted;DNS:example");
     }},
    {"permits-other-dns", Target::authority,
     [](Member& m, const World&, Random&) {
       m.maker.nameConstraints("critical,permitted;DNS:other");
     }},
    {"permits-dotted-dns", Target::authority,
     [](Member& m, const World&, Random&) {
       m.maker.nameConstraints("critical,permitted;DNS:.example");
     }},
    {"excludes-dns", Target::authority,
     [](Member& m, const World&, Random&) {
       m.maker.nameConstraints("critical,excluded;DNS:host.example");
     }},
    {"excludes-other-dns", Target::authority,
     [](Member& m, const World&, Random&) {
       m.maker.nameConstraints("critical,excluded;DNS:other");
     }},
    {"permits-addresses", Target::authority,
     [](Member& m, const World&, Random&) {
       m.maker.nameConstraints("critical,permitted;IP:10.0.0.0/255.0.0.0");
     }},
    {"excludes-addresses", Target::authority,
     [](Member& m, const World&, Random&) {
       m.maker.nameConstraints("critical,excluded;IP:10.0.0.0/255.0.0.0");
     }},
    {"permits-email", Target::authority,
     [](Member& m, const World&, Random&) {
       m.maker.nameConstraints("critical,permitted;email:example");
     }},
    {"permits-uri", Target::authority,
     [](Member& m, const World&, Random&) {
       m.maker.nameConstraints("critical,permitted;URI:.example");
     }},
    {"permits-other-email", Target::authority,
     [](Member& m, const World&, Random&) {
       m.maker.nameConstraints("critical,permitted;email:other");
     }},
    {"permits-other-uri", Target::authority,
     [](Member& m, const World&, Random&) {
       m.maker.nameConstraints("critical,permitted;URI:.other");
     }},
    {"permits-directory", Target::authority,
     [](Member& m, const World&, Random&) {
       m.maker.nameConstraints(directoryConstraint(0, "Example"));
     }},
    {"permits-other-directory", Target::authority,
     [](Member& m, const World&, Random&) {
       m.maker.nameConstraints(directoryConstraint(0, "Other"));
     }},
    {"excludes-directory", Target::authority,
     [](Member& m, const World&, Random&) {
       m.maker.nameConstraints(directoryConstraint(1, "example"));
     }},
    {"constraints-not-critical", Target::authority,
     [](Member& m, const World&, Random&) { m.maker.nameConstraints("permitted;DNS:other"); }},

    // Policies.
    {"policy", Target::any,
     [](Member& m, const World&, Random&) {
       m.maker.extension("certificatePolicies", onePolicy(1));
     }},
    {"other-policy", Target::any,
     [](Member& m, const World&, Random&) {
       m.maker.extension("certificatePolicies", onePolicy(2));
     }},
    {"requires-policy", Target::authority,
     [](Member& m, const World&, Random& random) {
       m.maker.extension("certificatePolicies", onePolicy(1))
           .extension("policyConstraints", random.percent(50) ? "critical,requireExplicitPolicy:0"
                                                              : "requireExplicitPolicy:0");
     }},
    {"maps-policy", Target::authority,
     [](Member& m, const World&, Random&) {
       m.maker.extension("certificatePolicies", onePolicy(1))
           .extension("policyMappings", "2.999.1:2.999.2");
     }},
    {"inhibits-any-policy", Target::authority,
     [](Member& m, const World&, Random&) { m.maker.extension("inhibitAnyPolicy", "critical,0"); }},

    // Extensions as such.
    {"unknown-critical", Target::any,
     [](Member& m, const World&, Random&) { m.maker.unknownExtension(true); }},
    {"unknown-not-critical", Target::any,
     [](Member& m, const World&, Random&) { m.maker.unknownExtension(false); }},
    // The object identifier makes the maker take it for another extension than it has.
    {"basic-constraints-twice", Target::any,
     [](Member& m, const World&, Random&) { m.maker.extension("2.5.29.19", "critical,DER:3000"); }},
    {"key-usage-twice", Target::any,
     [](Member& m, const World&, Random&) {
       m.maker.extension("2.5.29.15", "critical,DER:030205A0");
     }},
    {"basic-constraints-damaged", Target::any,
     [](Member& m, const World&, Random&) {
       m.maker.basicConstraints("").extension("2.5.29.19", "critical,DER:3003020100");
     }},
    {"key-usage-damaged", Target::any,
     [](Member& m, const World&, Random&) {
       m.maker.keyUsage("").extension("2.5.29.15", "critical,DER:0500");
     }},
    {"key-usage-empty", Target::any,
     [](Member& m, const World&, Random&) {
       m.maker.keyUsage("").extension("2.5.29.15", "critical,DER:030100");
     }},

    // Keys, signatures and identifiers.
    {"sha1", Target::any, [](Member& m, const World&, Random&) { m.digest = "SHA1"; }},
    {"sha512", Target::any, [](Member& m, const World&, Random&) { m.digest = "SHA512"; }},
    {"weak-key", Target::any,
     [](Member& m, const World& world, Random&) {
       m.key = world.keys.weak;
       m.maker.key(m.key).subjectKeyId(identifierOf(m.key));
     }},
    {"signed-by-other-key", Target::any,
     [](Member& m, const World& world, Random&) { m.signer = world.strangers.front().key(); }},
    {"other-issuer-name", Target::any,
     [](Member& m, const World&, Random&) { m.maker.issuerCommonName("Nobody"); }},
    {"issuer-in-other-letters", Target::any,
     [](Member& m, const World&, Random&) { m.beforeSigning = changeCaseOfIssuer; }},
    {"other-authority-key", Target::any,
     [](Member& m, const World&, Random&) { m.maker.authorityKeyId(manyBytes(20)); }},
    {"no-authority-key", Target::any,
     [](Member& m, const World&, Random&) { m.maker.extension("authorityKeyIdentifier", ""); }},
    {"no-subject-key", Target::authority,
     [](Member& m, const World&, Random&) { m.maker.extension("subjectKeyIdentifier", ""); }},

    // Serial numbers, versions.
    {"serial-negative", Target::any,
     [](Member& m, const World&, Random&) { m.maker.serial({7}, true); }},
    {"serial-zero", Target::any, [](Member& m, const World&, Random&) { m.maker.serial({0}); }},
    {"serial-long", Target::any,
     [](Member& m, const World&, Random&) { m.maker.serial(manyBytes(40)); }},
    {"version-1-with-extensions", Target::any,
     [](Member& m, const World&, Random&) { m.maker.version1(); }},

    // Bytes.
    {"flip-in-content", Target::any,
     [](Member& m, const World&, Random&) {
       m.afterSigning = [](CertificateParts& parts, Random& random) {
         flipBit(parts.content, random);
       };
     }},
    {"flip-and-sign", Target::any,
     [](Member& m, const World&, Random&) {
       m.beforeSigning = [](CertificateParts& parts, Random& random) {
         flipBit(parts.content, random);
       };
     }},
    {"flip-in-signature", Target::any,
     [](Member& m, const World&, Random&) {
       m.afterSigning = [](CertificateParts& parts, Random& random) {
         flipBit(parts.signature, random);
       };
     }},
    {"outer-algorithm-differs", Target::any,
     [](Member& m, const World&, Random&) { m.afterSigning = changeOuterAlgorithm; }},
    {"byte-behind", Target::any,
     [](Member& m, const World&, Random&) { m.rest = std::string(1, '\0'); }},
};

}  // namespace

const std::vector<Mutation>& mutations() {
  return kMutations;
}
