#include "tools/trustctl/exceptions/ExceptionRecord.h"

#include <stdlib.h>

#include <climits>
#include <list>
#include <memory>
#include <stdexcept>

#include "services/common/TextReader.h"
#include "services/common/TextWriter.h"
#include "services/common/TimeText.h"
#include "trustlib/CertificateExceptionImpl.h"
#include "trustlib/CertificateExceptionJsonCodec.h"
#include "trustlib/CertificateImpl.h"
#include "trustlib/util/Utilities.h"

namespace {

struct Freer {
  void operator()(unsigned char* buffer) const { free(buffer); }
};
using Buffer = std::unique_ptr<unsigned char, Freer>;

// What the library throws, by value or as a pointer that nobody else owns, told in one way. Its
// formatted texts end in a NUL of their own.
template <typename Step>
auto withLibrary(const Step& step) {
  try {
    return step();
  } catch (const TrustManagerException& error) {
    throw std::runtime_error(error.what());
  } catch (TrustManagerException* error) {
    const std::unique_ptr<TrustManagerException> owner(error);
    throw std::runtime_error(owner->what());
  }
}

std::unique_ptr<CertificateException> toLibrary(const ExceptionRecord& record) {
  std::list<CertificateImpl> certificates;
  std::list<Certificate*> chain;
  for (const CertificateDer& der : record.chain) {
    certificates.emplace_back(der.data(), static_cast<unsigned>(der.size()));
    chain.push_back(&certificates.back());
  }
  return std::make_unique<CertificateExceptionImpl>(
      record.warnings, record.domain ? &*record.domain : nullptr, &chain);
}

ExceptionRecord fromLibrary(const CertificateException& exception) {
  ExceptionRecord record;
  if (exception.getDomainName() != nullptr) {
    record.domain = *exception.getDomainName();
  }
  record.warnings = exception.getWarnings();
  for (const Certificate* certificate : *exception.getCertificateChain()) {
    const unsigned char* der = certificate->getDer();
    record.chain.emplace_back(der, der + certificate->getDerLength());
  }
  return record;
}

// Reading everything a second time is for the few files that have notes. A name may be written
// with escapes, too.
bool mayHaveNotes(const std::string& bytes) {
  for (const char* part : {"\"created\"", "\"expires\"", "\"reason\"", "\\u"}) {
    if (bytes.find(part) != std::string::npos) {
      return true;
    }
  }
  return false;
}

std::optional<std::string> noteOf(TextReader* reader, const char* name) {
  try {
    return reader->optionalString(name);
  } catch (const std::runtime_error&) {
    return {};  // of another kind
  }
}

std::optional<std::int64_t> timeOf(TextReader* reader, const char* name) {
  const auto text = noteOf(reader, name);
  return text ? parseTime(*text) : std::nullopt;
}

void readNotes(const std::string& bytes, ExceptionRecord* record) {
  TextReader reader(bytes, TextReader::Form::json, "the record");
  record->created = timeOf(&reader, "created");
  record->expires = timeOf(&reader, "expires");
  record->reason = noteOf(&reader, "reason");
}

void requireWritable(const std::optional<std::int64_t>& moment) {
  constexpr int firstYear = 0;
  constexpr int lastYear = 9999;
  if (moment && (*moment < *civilTime(firstYear, 1, 1, 0, 0, 0) ||
                 *moment > *civilTime(lastYear, 12, 31, 23, 59, 59))) {
    throw std::runtime_error("a time lies outside the years 0 to 9999");
  }
}

void addTime(const char* name, const std::optional<std::int64_t>& moment, TextWriter* notes) {
  requireWritable(moment);
  if (moment) {
    notes->add(name, formatTime(*moment));
  }
}

// An object of its own, empty without notes.
std::string writeNotes(const ExceptionRecord& record) {
  if (record.reason && record.reason->find('\0') != std::string::npos) {
    throw std::runtime_error("the reason holds a NUL byte");
  }
  TextWriter notes(TextWriter::Form::json);
  addTime("created", record.created, &notes);
  addTime("expires", record.expires, &notes);
  if (record.reason) {
    notes.add("reason", *record.reason);
  }
  return notes.text();
}

std::string encode(const ExceptionRecord& record) {
  return withLibrary([&record] {
    unsigned char* bytes = nullptr;
    unsigned length = 0;
    CertificateExceptionJsonCodec().encode(toLibrary(record).get(), &bytes, &length);
    const Buffer owner(bytes);
    return std::string(reinterpret_cast<const char*>(bytes), length);
  });
}

}  // namespace

ExceptionRecord parseRecord(const std::string& bytes) {
  if (bytes.size() > INT_MAX) {
    throw std::runtime_error("it is too long");
  }
  ExceptionRecord record = withLibrary([&bytes] {
    CertificateException* exception = nullptr;
    CertificateExceptionJsonCodec().decode(reinterpret_cast<const unsigned char*>(bytes.data()),
                                           static_cast<unsigned>(bytes.size()), &exception);
    const std::unique_ptr<CertificateException> owner(exception);
    return fromLibrary(*exception);
  });
  if (mayHaveNotes(bytes)) {
    readNotes(bytes, &record);
  }
  return record;
}

std::string writeRecord(const ExceptionRecord& record) {
  if (record.domain && record.domain->find('\0') != std::string::npos) {
    throw std::runtime_error("the domain holds a NUL byte");
  }
  std::string bytes = encode(record);
  const std::string notes = writeNotes(record);
  if (notes.size() > 2) {
    bytes.replace(bytes.rfind('}'), std::string::npos, "," + notes.substr(1));
  }
  return bytes;
}

std::string hashOf(const ExceptionRecord& record) {
  return withLibrary([&record] {
    unsigned char* digest = nullptr;
    unsigned length = 0;
    if (toLibrary(record)->hash(&digest, &length) != 0) {
      throw std::runtime_error("its hash cannot be computed; check this machine's OpenSSL");
    }
    const Buffer owner(digest);
    std::string hex;
    Utilities::binaryToHex(digest, length, &hex);
    return hex;
  });
}

bool isSameDecision(const ExceptionRecord& left, const ExceptionRecord& right) {
  return withLibrary([&] { return toLibrary(left)->compare(toLibrary(right).get()); });
}
