#include "services/certmgr/path/Finding.h"

#include <array>
#include <stdexcept>

namespace {

struct Row {
  Reason reason;
  Warning::Flag warning;
  const char* name;
  const char* sentence;
};

// The one table from what was found to what clients hear, in the order of Reason.
constexpr std::array kRows{
    Row{Reason::basicConstraintsNotCritical, Warning::BC_NOT_CRITICAL,
        "basic_constraints_not_critical", "an issuer's basic constraints are not critical"},
    Row{Reason::pathTooLong, Warning::BC_PATH_LENGTH, "path_too_long",
        "there are more certificates below an issuer than it allows"},
    Row{Reason::unknownCriticalExtension, Warning::UNKNOWN_CRITICAL_EXT,
        "unknown_critical_extension", "a critical extension is not understood"},
    Row{Reason::expired, Warning::CERT_EXPIRY, "expired", "the certificate has expired"},
    Row{Reason::notYetValid, Warning::CERT_EXPIRY, "not_yet_valid",
        "the certificate is not valid yet"},
    Row{Reason::timeUnreadable, Warning::CERT_EXPIRY, "time_unreadable",
        "the certificate's time cannot be read"},
    Row{Reason::keyUsageMissing, Warning::KU_MISSING, "key_usage_missing",
        "an issuer has no key usage"},
    Row{Reason::mayNotSignCertificates, Warning::KU_INVALID, "may_not_sign_certificates",
        "an issuer's key usage does not allow it to sign certificates"},
    Row{Reason::mayNotServeTls, Warning::KU_INVALID, "may_not_serve_tls",
        "the key usage does not allow what a TLS server does"},
    Row{Reason::otherPurpose, Warning::KU_INVALID, "other_purpose",
        "the certificate is for other purposes than servers"},
    Row{Reason::basicConstraintsMissing, Warning::BC_MISSING, "basic_constraints_missing",
        "an issuer has no basic constraints"},
    Row{Reason::notCa, Warning::BC_NOT_CA, "not_ca", "an issuer is no certificate authority"},
    Row{Reason::noAnchor, Warning::NO_TRUSTED, "no_anchor", "no path leads to a trusted root"},
    Row{Reason::anchorRefuses, Warning::NO_TRUSTED, "anchor_refuses",
        "the root is not trusted for servers"},
    Row{Reason::extensionUnreadable, Warning::NO_TRUSTED, "extension_unreadable",
        "a part of the certificate cannot be read"},
    Row{Reason::policyMissing, Warning::NO_TRUSTED, "policy_missing",
        "a certificate policy is required, and none is valid for the whole path"},
    Row{Reason::gaveUp, Warning::NO_TRUSTED, "gave_up", "judging the chain would cost too much"},
    Row{Reason::signatureWrong, Warning::INVALID_SIGNATURE, "signature_wrong",
        "the signature is not the issuer's"},
    Row{Reason::signatureUnsupported, Warning::INVALID_SIGNATURE, "signature_unsupported",
        "the signature is of a kind that cannot be checked"},
    Row{Reason::signatureWeak, Warning::INVALID_SIGNATURE, "signature_weak",
        "the signature uses a digest that is no longer safe"},
    Row{Reason::algorithmsDiffer, Warning::INVALID_SIGNATURE, "algorithms_differ",
        "the certificate names two different signature algorithms"},
    Row{Reason::keyWeak, Warning::INVALID_SIGNATURE, "key_weak",
        "the public key is no longer safe"},
    Row{Reason::keyUnreadable, Warning::INVALID_SIGNATURE, "key_unreadable",
        "the public key is of no known kind, or damaged"},
    Row{Reason::revoked, Warning::REVOKED, "revoked", "the issuer has revoked the certificate"},
    Row{Reason::nameNotPermitted, Warning::NAME_CONSTRAINTS, "name_not_permitted",
        "a name is not among those that an issuer may vouch for"},
    Row{Reason::nameExcluded, Warning::NAME_CONSTRAINTS, "name_excluded",
        "a name is among those that an issuer must not vouch for"},
    Row{Reason::constraintNotUnderstood, Warning::NAME_CONSTRAINTS, "constraint_not_understood",
        "an issuer limits names in a way that cannot be checked"},
    Row{Reason::otherKeyIdentifier, Warning::INVALID_ISSUER, "other_key_identifier",
        "the certificate names another key as its issuer's"},
};

constexpr bool isInOrder() {
  for (std::size_t i = 0; i < kRows.size(); ++i) {
    if (static_cast<std::size_t>(kRows[i].reason) != i) return false;
  }
  return kRows.size() == static_cast<std::size_t>(Reason::otherKeyIdentifier) + 1;
}
static_assert(isInOrder(), "every reason has its row, in the order of the enumeration");

const Row& rowOf(Reason reason) {
  return kRows.at(static_cast<std::size_t>(reason));
}

}  // namespace

Warnings warningOf(Reason reason) {
  return rowOf(reason).warning;
}

std::string_view nameOf(Reason reason) {
  return rowOf(reason).name;
}

std::string_view sentenceOf(Reason reason) {
  return rowOf(reason).sentence;
}
