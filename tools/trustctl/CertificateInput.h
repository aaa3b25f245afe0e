#ifndef TOOLS_TRUSTCTL_CERTIFICATEINPUT_H
#define TOOLS_TRUSTCTL_CERTIFICATEINPUT_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "services/common/CertificateDer.h"

// What one chain may hold. Real ones have two to five certificates.
constexpr std::size_t maxCertificates = 32;

// Takes the certificates out of one input: PEM (also among other text, keys and lists), one
// DER certificate, or a PKCS#7 bag in either form. Files keep their order; a bag has none, so
// the leaf, which issued none of the others, is put first.
// `name` stands for the input in messages. Throws CommandError (wrongUse) when the input
// holds no certificate, one that is damaged, something after it, or more than
// maxCertificates; the text tells what was found instead and what to give.
std::vector<CertificateDer> parseCertificates(std::string_view bytes, const std::string& name);

// Reads the inputs one after the other ("-" is standard input) and joins them to one chain.
// Throws CommandError (wrongUse) as parseCertificates and readInput do, and when standard
// input is named twice.
std::vector<CertificateDer> readCertificates(const std::vector<std::string>& paths);

#endif
