#include "services/certmgr/CertDetailsAnswer.h"

#include <list>
#include <stdexcept>
#include <string>

#include "services/certmgr/AnswerNames.h"
#include "services/certmgr/NameReduction.h"
#include "services/common/CertificateNames.h"
#include "services/common/TextWriter.h"
#include "services/common/WarningTexts.h"

CertDetailsAnswer CertDetailsAnswer::about(const Evaluation& evaluation) {
  const ParsedCertificate& leaf = *evaluation.path.front();
  CertDetailsAnswer answer;
  answer.serial = serialNumberText(leaf.serial);
  answer.commonNames = commonNamesOf(leaf);
  answer.subjectAltNames = subjectAltNamesOf(leaf);
  answer.warnings = evaluation.warnings();
  return answer;
}

std::string CertDetailsAnswer::encode() const {
  TextWriter writer(TextWriter::Form::attributes);
  writer.add("res", "getcertdetails");
  if (id) writer.add("id", *id);
  writer.startObject("dat");
  writer.add("serial", serial);
  writer.addArray("subjectCommonName", commonNames);
  writer.addArray("subjectAltNames", subjectAltNames);
  writer.add("validity", warnings == 0 ? "VALID" : "INVALID");
  if (warnings != 0) writer.addArray("warnings", namesOfWarnings(warnings));
  writer.addArray("chain", chain);
  writer.endObject();
  return writer.text();
}

std::string CertDetailsAnswer::encodeWithin(std::size_t most) const {
  std::string text = encode();
  if (text.size() <= most) return text;
  CertDetailsAnswer smaller = *this;
  for (const auto reduce : {dropOtherNames, dropDuplicateNames, dropCoveredNames}) {
    reduce(smaller.subjectAltNames);
    text = smaller.encode();
    if (text.size() <= most) return text;
  }
  smaller.subjectAltNames.clear();
  const std::string limit = "more than an answer of " + std::to_string(most) + " bytes holds";
  if (smaller.encode().size() > most) {
    throw std::runtime_error("the certificate's common names and the paths of its chain are " +
                             limit);
  }
  throw std::runtime_error("the certificate names " +
                           std::to_string(countDnsNames(subjectAltNames)) + " hosts, " + limit);
}
