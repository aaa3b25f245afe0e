// What we read in a certificate against what OpenSSL reads in it: where both take it, they read
// the same; what only we take has a part that OpenSSL does not decode, and then is no good one.

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/opensslv.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include "fuzz/OddParts.h"
#include "fuzz/Property.h"
#include "services/certmgr/AnswerNames.h"
#include "services/certmgr/path/DerReader.h"
#include "services/certmgr/path/ParsedCertificate.h"
#include "services/common/CertificateNames.h"
#include "services/common/OpenSslOwners.h"

namespace {

using CertificateOwner = OpenSslOwner<X509, X509_free>;
using TimeOwner = OpenSslOwner<ASN1_TIME, ASN1_TIME_free>;

CertificatePtr parsed(const std::string& der) {
  try {
    return ParsedCertificate::parse(der);
  } catch (const DerError&) {
    return {};
  }
}

CertificateOwner openSslsOwn(const std::string& der) {
  const auto* at = reinterpret_cast<const unsigned char*>(der.data());
  CertificateOwner certificate(d2i_X509(nullptr, &at, static_cast<long>(der.size())));
  if (certificate != nullptr) {
    require(at == reinterpret_cast<const unsigned char*>(der.data()) + der.size(),
            "what is one certificate to us is one to OpenSSL");
  }
  return certificate;
}

std::string_view bytesOf(const ASN1_STRING* string) {
  return {reinterpret_cast<const char*>(ASN1_STRING_get0_data(string)),
          static_cast<std::size_t>(ASN1_STRING_length(string))};
}

std::optional<std::int64_t> secondsOf(const ASN1_TIME* time) {
  TimeOwner epoch(ASN1_TIME_new());
  ASN1_TIME_set_string(epoch.get(), "19700101000000Z");
  int days = 0;
  int seconds = 0;
  if (ASN1_TIME_check(time) != 1 || ASN1_TIME_diff(&days, &seconds, epoch.get(), time) != 1) {
    return {};
  }
  return std::int64_t{days} * 86400 + seconds;
}

void checkTime(std::optional<std::int64_t> ours, const ASN1_TIME* time) {
  const std::string_view text = bytesOf(time);
  const bool isShort = ASN1_STRING_type(time) == V_ASN1_UTCTIME;
  const bool isInForm = text.size() == (isShort ? 13U : 15U) && text.back() == 'Z';
  if (isInForm) require(ours == secondsOf(time), "a time is the same time");
  if (!isInForm) require(!ours, "a time in another form is none");
}

void checkNames(const ParsedCertificate& ours, const X509* theirs) {
  const X509_NAME* subject = X509_get_subject_name(theirs);
  const X509_NAME* issuer = X509_get_issuer_name(theirs);
  require(ours.isSelfIssued() == (X509_NAME_cmp(subject, issuer) == 0),
          "two names are the same name");
  require(ours.subject.isEmpty() == (X509_NAME_entry_count(subject) == 0),
          "an empty name is an empty name");
  require(commonNamesOf(ours) == commonNamesOf(theirs), "the common names are the same");
  require(serialNumberText(ours.serial) == serialNumberOf(theirs), "the serial is the same");
}

// NULL when it is absent, there twice, or does not decode.
template <class Value, void (*free)(Value*)>
OpenSslOwner<Value, free> extension(const X509* certificate, int nid) {
  return OpenSslOwner<Value, free>(
      static_cast<Value*>(X509_get_ext_d2i(certificate, nid, nullptr, nullptr)));
}

bool isThereOnce(const X509* certificate, int nid) {
  const int first = X509_get_ext_by_NID(certificate, nid, -1);
  return first >= 0 && X509_get_ext_by_NID(certificate, nid, first) < 0;
}

void checkBasicConstraints(const ParsedCertificate& ours, const X509* theirs) {
  if (!ours.hasBasicConstraints || !isThereOnce(theirs, NID_basic_constraints)) return;
  const auto constraints =
      extension<BASIC_CONSTRAINTS, BASIC_CONSTRAINTS_free>(theirs, NID_basic_constraints);
  require(constraints != nullptr, "basic constraints that we read can be read");
  require(ours.isCa == (constraints->ca != 0), "an authority is an authority");
  require(ours.pathLength.has_value() == (constraints->pathlen != nullptr),
          "a limit to the path is there, or not");
  constexpr unsigned kFarAway = 1U << 30;
  if (ours.pathLength && *ours.pathLength < kFarAway) {
    require(ASN1_INTEGER_get(constraints->pathlen) == static_cast<long>(*ours.pathLength),
            "the path may be as long");
  }
}

void checkKeyUsage(const ParsedCertificate& ours, const X509* theirs) {
  if (!ours.keyUsage || !isThereOnce(theirs, NID_key_usage)) return;
  const auto usage = extension<ASN1_BIT_STRING, ASN1_BIT_STRING_free>(theirs, NID_key_usage);
  require(usage != nullptr, "a key usage that we read can be read");
  for (int bit = 0; bit < 9; ++bit) {
    require((*ours.keyUsage >> bit & 1U) ==
                static_cast<unsigned>(ASN1_BIT_STRING_get_bit(usage.get(), bit)),
            "a usage is allowed, or not");
  }
}

void checkExtendedKeyUsage(const ParsedCertificate& ours, const X509* theirs) {
  if (!ours.extendedKeyUsage || !isThereOnce(theirs, NID_ext_key_usage)) return;
  const auto uses =
      extension<EXTENDED_KEY_USAGE, EXTENDED_KEY_USAGE_free>(theirs, NID_ext_key_usage);
  if (uses == nullptr) return;  // an object identifier that is none, and so means nothing to us
  std::vector<std::string_view> found;
  for (int i = 0; i < sk_ASN1_OBJECT_num(uses.get()); ++i) {
    const ASN1_OBJECT* use = sk_ASN1_OBJECT_value(uses.get(), i);
    found.emplace_back(reinterpret_cast<const char*>(OBJ_get0_data(use)), OBJ_length(use));
  }
  require(*ours.extendedKeyUsage == found, "the purposes are the same");
}

bool isOfOtherKind(const GeneralName& name) {
  using Kind = GeneralName::Kind;
  return name.kind != Kind::dns && name.kind != Kind::address && name.kind != Kind::uri &&
         name.kind != Kind::email;
}

void checkAltNames(const ParsedCertificate& ours, const X509* theirs) {
  const std::vector<std::string> names = subjectAltNamesOf(ours);
  require(std::all_of(names.begin(), names.end(), hasNoControls), "no name holds a control byte");
  if (!ours.hasAltNames || ours.altNamesUnreadable) return;
  if (!isThereOnce(theirs, NID_subject_alt_name)) return;
  // What is in names of other kinds is nothing to us.
  if (std::any_of(ours.altNames.begin(), ours.altNames.end(), isOfOtherKind)) return;
  require(names == subjectAltNamesOf(theirs), "the alternative names are the same");
}

bool isSameKey(const EVP_PKEY* one, const EVP_PKEY* other) {
#if OPENSSL_VERSION_NUMBER >= 0x30000000L
  return EVP_PKEY_eq(one, other) == 1;
#else
  return EVP_PKEY_cmp(one, other) == 1;
#endif
}

void checkKey(const ParsedCertificate& ours, const X509* theirs) {
  EVP_PKEY* key = ours.key->get();
  if (key == nullptr) return;
  EVP_PKEY* same = X509_get0_pubkey(theirs);
  require(same != nullptr, "a key that we read can be read");
  require(isSameKey(key, same), "the keys are the same");
}

void check(const ParsedCertificate& ours, const X509* theirs) {
  constexpr unsigned kKnownVersions = 3;  // no other is told apart
  require(ours.version > kKnownVersions ||
              static_cast<long>(ours.version) == X509_get_version(theirs) + 1,
          "the version is the same");
  checkNames(ours, theirs);
  checkTime(ours.notBefore, X509_get0_notBefore(theirs));
  checkTime(ours.notAfter, X509_get0_notAfter(theirs));
  checkBasicConstraints(ours, theirs);
  checkKeyUsage(ours, theirs);
  checkExtendedKeyUsage(ours, theirs);
  checkAltNames(ours, theirs);
  checkKey(ours, theirs);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string der(reinterpret_cast<const char*>(data), size);
  const CertificatePtr ours = parsed(der);
  if (ours == nullptr) return 0;
  const CertificateOwner theirs = openSslsOwn(der);
  if (theirs != nullptr) {
    check(*ours, theirs.get());
  } else {
    require(hasOddName(*ours) || hasOddPart(*ours),
            "a certificate that only we take has an odd part");
  }
  ERR_clear_error();
  return 0;
}
