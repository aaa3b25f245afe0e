#include "services/certmgr/CertDetailsAnswer.h"

#include <list>
#include <string>

#include "services/common/TextWriter.h"
#include "services/common/WarningTexts.h"

namespace {}  // namespace

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
