#include <list>

#include "services/common/PrintableText.h"
#include "services/common/TextWriter.h"
#include "services/common/WarningTexts.h"
#include "tools/trustctl/CertificateJson.h"
#include "tools/trustctl/VerdictReport.h"
#include "tools/trustctl/connect/ConnectionReport.h"
#include "trustlib/CertificateWarnings.h"

namespace {

// Escaped texts are valid UTF-8 without NUL, which the writer asks for.
void addQuestion(TextWriter* object, const ReportContext& context) {
  if (context.input) {
    object->add("input", escapeText(*context.input));
  }
  if (context.domain) {
    object->add("domain", escapeText(*context.domain));
  }
}

const char* decisionWord(Decision decision) {
  switch (decision) {
    case Decision::once:
      return "once";
    case Decision::always:
      return "always";
    case Decision::declined:
      break;
  }
  return "declined";
}

std::string finish(TextWriter* object) {
  return object->text() + "\n";
}

void addChain(TextWriter* object, const std::vector<CertificateView>& chain) {
  object->startArray("chain");
  for (const CertificateView& certificate : chain) {
    object->startObject(nullptr);
    addCertificate(object, certificate);
    object->endObject();
  }
  object->endArray();
}

}  // namespace

std::string writeJsonReport(const Verdict& verdict, const ReportContext& context) {
  TextWriter object(TextWriter::Form::json);
  addQuestion(&object, context);
  object.add("trusted", verdict.trusted);
  object.add("by_exception", verdict.byException);
  if (verdict.decision) {
    object.add("decision", decisionWord(*verdict.decision));
  }
  object.add("revoked", verdict.revoked);
  object.addArray("warnings", namesOfWarnings(verdict.warnings));
  object.add("serial", verdict.chain.empty() ? std::string() : verdict.chain.front().serial);
  addChain(&object, verdict.chain);
  if (context.connection != nullptr) {
    addConnection(&object, *context.connection);
  }
  return finish(&object);
}

std::string writeJsonError(const std::string& error, const ReportContext& context) {
  TextWriter object(TextWriter::Form::json);
  addQuestion(&object, context);
  object.add("error", error);
  return finish(&object);
}
