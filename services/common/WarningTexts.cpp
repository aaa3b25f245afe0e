#include "services/common/WarningTexts.h"

const char* warningName(const WarningText& text) {
  for (int i = 0; i < CertificateWarnings::nameCount; ++i) {
    if (CertificateWarnings::names()[i].flag == text.flag) {
      return CertificateWarnings::names()[i].text;
    }
  }
  return "";
}

const std::vector<WarningText>& warningTexts() {
  static const std::vector<WarningText> table = {
      {CertificateWarnings::BC_NOT_CRITICAL,
       "An authority's certificate states its limits in a form that programs may ignore.",
       "The basic-constraints extension, which says whether a certificate may issue others, is "
       "there but not marked critical. Programs that do not know the extension may skip it.",
       "Little by itself. With an old program that skips the extension, the owner of an ordinary "
       "certificate could pose as an authority.",
       "An authority made long ago, or by hand with default settings; old private authorities "
       "often look so.",
       "Ask who runs the authority to issue its certificate again with critical basic "
       "constraints. Accept it only if you know that authority."},
      {CertificateWarnings::BC_PATH_LENGTH,
       "The chain is longer than one of its authorities allows.",
       "An authority was told how many further authorities may stand below it, and there are more.",
       "Somebody who controls a limited authority may have made another one below it, to issue "
       "certificates for names that nobody entrusted to it.",
       "A new level of authorities was added without renewing the one above; or a wrong "
       "intermediate certificate is installed on the server.",
       "Do not trust it. Have the server's owner install the right intermediates, or the "
       "authority correct its path length."},
      {CertificateWarnings::UNKNOWN_CRITICAL_EXT,
       "A certificate contains a binding condition that this program does not understand.",
       "An extension is marked critical, which means: who does not understand it must not accept "
       "the certificate.",
       "The condition may forbid the very use the certificate is put to now, so that a certificate "
       "made for another purpose is abused for this one.",
       "A certificate made for a special system with extensions of its own.",
       "Ask the issuer what the extension demands. Use a certificate without it for public "
       "servers."},
      {CertificateWarnings::CERT_EXPIRY, "A certificate has expired, or is not valid yet.",
       "The time of the check lies outside the period for which a certificate of the chain was "
       "issued.",
       "Keys of old certificates have had time to leak, and revocation is no longer published for "
       "them: who holds such a key can pose as the server.",
       "Renewal was forgotten, or this machine's clock is wrong.",
       "Check the clock (date -u) first. Then have the server's owner renew the certificate that "
       "is shown as outside its validity."},
      {CertificateWarnings::KU_MISSING, "A certificate does not say what its key may be used for.",
       "The key-usage extension is missing where it is required, above all in an authority.",
       "A key meant for one purpose, such as signing mail, may be abused to sign certificates.",
       "An authority made by hand with default settings.",
       "Have the certificate issued again with key usage. Accept it only if you know the "
       "authority."},
      {CertificateWarnings::KU_INVALID,
       "A key is used for something its certificate does not allow.",
       "The key usage (or extended key usage) leaves out what the key is used for here: proving a "
       "server's identity, or issuing certificates.",
       "Somebody who was given a certificate for another purpose, such as mail or software, uses "
       "it to pose as a server or as an authority.",
       "A client or mail certificate was installed on a server by mistake.",
       "Do not trust it. Have a certificate issued for server authentication."},
      {CertificateWarnings::BC_MISSING,
       "An issuer's certificate does not say that it is an authority.",
       "The basic-constraints extension is missing from a certificate that issued another one.",
       "The owner of any ordinary certificate could have issued it, for any name.",
       "A very old authority (version 1 certificates cannot say it), or one made by hand.",
       "Do not trust it unless you know the authority well; have it issued again with basic "
       "constraints."},
      {CertificateWarnings::BC_NOT_CA, "A certificate was issued by one that is no authority.",
       "The issuer's certificate says in plain terms that it may not issue others.",
       "The owner of an ordinary certificate made a certificate for somebody else's name. This is "
       "a classic attack.",
       "Rare: a server certificate was used to sign a test certificate.",
       "Do not trust it. Do not send passwords. Have the certificate issued by a real authority."},
      {CertificateWarnings::NO_TRUSTED,
       "The chain does not lead to an authority that this machine trusts.",
       "No trusted root stands at the end of the chain, so nobody vouches for any of it.",
       "Anybody can make such a chain for any name within seconds. Somebody between you and the "
       "server may have put it there.",
       "A private authority or a self-signed certificate; the server does not send its "
       "intermediate certificates; this machine's root certificates are old; or a certificate has "
       "extensions that cannot be read.",
       "Have the server's owner install its intermediates. If the authority is your own, have its "
       "root added to those that this machine trusts, having got it over a safe road. Otherwise "
       "do not trust it."},
      {CertificateWarnings::INVALID_SIGNATURE,
       "A signature is wrong: a certificate was altered or forged.",
       "A certificate of the chain was not signed by the key of its issuer, or was changed since.",
       "A forger took a real certificate and changed its name or key, hoping that nobody checks.",
       "A damaged file, or an issuer that got a new key under its old name.",
       "Do not trust it. Get the chain again over another road and compare the fingerprints."},
      {CertificateWarnings::REVOKED, "A certificate was withdrawn by its issuer.",
       "A revocation list or the built-in list of known bad certificates names it.",
       "Revocation mostly means that the key was stolen or the certificate obtained by fraud: who "
       "holds the key can pose as the server.",
       "The server got a new certificate, and the old one is still installed.",
       "Do not trust it, whatever else is fine. Have the server's owner install the new "
       "certificate."},
      {CertificateWarnings::NAME_CONSTRAINTS,
       "An authority issued a certificate for a name outside its territory.",
       "An authority of the chain is limited to certain names, and the certificate bears another.",
       "Somebody who controls an authority for one company's names uses it for somebody else's.",
       "A private authority was set up for one domain and is used for another one too.",
       "Do not trust it. Have the certificate issued by an authority that may issue for the name."},
      {CertificateWarnings::INVALID_ISSUER, "The certificates do not fit together.",
       "The issuer that a certificate names is not the owner of the one it is said to come from.",
       "A forger puts a foreign certificate under a trusted one, hoping that only names are looked "
       "at loosely.",
       "Files of two chains were mixed up, or the intermediates of an earlier certificate are "
       "still installed.",
       "Have the server's owner install the intermediates that came with the certificate: the leaf "
       "first, and each issuer after it."},
      {CertificateWarnings::DOMAINNAME_MISMATCH,
       "The certificate is not for the domain that was asked for.",
       "Neither the domain nor one of the alternative domains is among the certificate's names.",
       "Somebody with a valid certificate for a name of their own answers in place of the server.",
       "A typing error, a missing or needless www., a server that serves several domains, or a "
       "network's log-in page.",
       "Compare the domain with the names of the first certificate. Do not go on unless you know "
       "why they differ."},
  };
  return table;
}

std::vector<const WarningText*> textsOf(unsigned long long warnings) {
  std::vector<const WarningText*> found;
  for (const WarningText& text : warningTexts()) {
    if ((warnings & text.flag) != 0) {
      found.push_back(&text);
    }
  }
  return found;
}

std::list<std::string> namesOfWarnings(unsigned long long warnings) {
  std::list<std::string> names;
  CertificateWarnings::appendNames(warnings, &names);
  return names;
}
