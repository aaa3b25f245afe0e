#include "tools/trustctl/exceptions/RecordJson.h"

#include <stdexcept>

#include "services/common/CertificateView.h"
#include "services/common/PrintableText.h"
#include "services/common/TextWriter.h"
#include "services/common/WarningTexts.h"
#include "tools/trustctl/CertificateJson.h"

namespace {

// The members that both forms begin with.
void addDecision(TextWriter* object, const std::string& fileName,
                 const std::optional<std::string>& domain, unsigned long long warnings) {
  object->add("file", escapeText(fileName));
  if (domain) {
    object->add("domain", escapeText(*domain));
  }
  object->addArray("warnings", namesOfWarnings(warnings));
  object->add("warning_bits", std::to_string(warnings));
}

// The members that both forms go on with.
void addTimes(TextWriter* object, const RecordSummary& row, std::int64_t now) {
  object->add("written", momentText(row.written));
  if (row.created) {
    object->add("created", momentText(row.created));
  }
  if (row.expires) {
    object->add("expires", momentText(row.expires));
    object->add("expired", *row.expires <= now);
  }
}

void addMember(TextWriter* object, const CertificateDer& der) {
  object->startObject(nullptr);
  try {
    addCertificate(object, viewCertificate(der));
  } catch (const std::runtime_error&) {
    // Bytes that are no certificate have a fingerprint only.
    object->add("sha256", sha256Of(der));
  }
  object->endObject();
}

}  // namespace

RecordSummary summarize(const ExceptionStore& store, const std::string& fileName,
                        const ExceptionRecord& record) {
  return {fileName,
          record.domain,
          record.warnings,
          summarizeLeaf(record),
          store.writtenAt(fileName),
          record.created,
          record.expires};
}

std::string summaryJson(const RecordSummary& row, std::int64_t now) {
  TextWriter object(TextWriter::Form::json);
  addDecision(&object, row.fileName, row.domain, row.warnings);
  if (row.leaf.subject) {
    object.add("subject", *row.leaf.subject);
  }
  object.add("sha256", row.leaf.sha256);
  addTimes(&object, row, now);
  return object.text() + "\n";
}

std::string recordJson(const ExceptionStore& store, const std::string& fileName,
                       const ExceptionRecord& record, std::int64_t now) {
  TextWriter object(TextWriter::Form::json);
  addDecision(&object, fileName, record.domain, record.warnings);
  addTimes(&object, summarize(store, fileName, record), now);
  if (record.reason) {
    object.add("reason", escapeText(*record.reason));
  }
  object.startArray("chain");
  for (const CertificateDer& der : record.chain) {
    addMember(&object, der);
  }
  object.endArray();
  return object.text() + "\n";
}

std::string removalJson(const std::string& fileName, const ExceptionRecord* record, bool removed) {
  TextWriter object(TextWriter::Form::json);
  if (record != nullptr) {
    addDecision(&object, fileName, record->domain, record->warnings);
  } else {
    object.add("file", escapeText(fileName));
  }
  object.add("removed", removed);
  return object.text() + "\n";
}
