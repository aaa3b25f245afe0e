#include "services/dialog/DialogRequest.h"

#include <limits.h>

#include <algorithm>
#include <iterator>
#include <stdexcept>

#include "platform/ppscodec/ControlBytes.h"
#include "services/common/TextReader.h"
#include "trustlib/CertificateWarnings.h"

namespace {

constexpr const char* kDialogClass = "orb.dialog::CertificateVerificationDialog";
constexpr std::size_t kMaxQuotedBytes = 64;

const std::vector<std::string> kTextMembers = {"msg", "id", "dat"};
const std::vector<std::string> kDataMembers = {"className", "desc_obj"};
const std::vector<std::string> kDescriptionMembers = {"domain", "import", "groupId", "warnings",
                                                      "chain"};

std::string quote(const std::string& text) {
  return "\"" + text.substr(0, kMaxQuotedBytes) + "\"";
}

void refuseUnknownMembers(TextReader& reader, const std::vector<std::string>& known) {
  for (const std::string& name : reader.memberNames()) {
    if (std::find(known.begin(), known.end(), name) == known.end()) {
      throw std::runtime_error("the request has a member that nobody knows: " + quote(name));
    }
  }
}

void refuseUnknownOrder(TextReader& reader, const std::vector<std::string>& order) {
  auto at = order.begin();
  for (const std::string& name : reader.memberNames()) {
    at = std::find(at, order.end(), name);
    if (at == order.end()) {
      throw std::runtime_error("the member " + quote(name) + " of the request is out of its place");
    }
  }
}

// JSON can carry control bytes as escapes, so the codec lets them through.
void requirePlain(const char* what, const std::string& text, std::size_t maxBytes) {
  if (text.size() > maxBytes) {
    throw std::runtime_error(std::string(what) + " is longer than " + std::to_string(maxBytes) +
                             " bytes");
  }
  const bool control = std::any_of(text.begin(), text.end(), ppscodec::isControl);
  if (control) throw std::runtime_error(std::string(what) + " holds a control byte");
}

std::optional<std::string> readPlain(TextReader& reader, const char* name, std::size_t maxBytes) {
  std::optional<std::string> text = reader.optionalString(name);
  if (text) requirePlain(("\"" + std::string(name) + "\"").c_str(), *text, maxBytes);
  return text;
}

unsigned long long warningOf(const std::string& name) {
  const auto* const names = CertificateWarnings::names();
  const auto* const end = names + CertificateWarnings::nameCount;
  const auto* const found =
      std::find_if(names, end, [&](const auto& warning) { return name == warning.text; });
  if (found == end) throw std::runtime_error("unknown warning " + quote(name));
  return found->flag;
}

unsigned long long readWarnings(TextReader& reader) {
  unsigned long long warnings = 0;
  for (const std::string& name :
       reader.optionalStrings("warnings").value_or(std::vector<std::string>())) {
    const unsigned long long warning = warningOf(name);
    if ((warnings & warning) != 0) {
      throw std::runtime_error("the warning " + quote(name) + " is named twice");
    }
    warnings |= warning;
  }
  return warnings;
}

std::vector<std::string> readPaths(TextReader& reader) {
  std::optional<std::vector<std::string>> paths = reader.optionalStrings("chain");
  if (!paths || paths->empty()) throw std::runtime_error("the request names no certificate");
  if (paths->size() > DialogRequest::kMaxCertificates) {
    throw std::runtime_error("the request names more than " +
                             std::to_string(DialogRequest::kMaxCertificates) + " certificates");
  }
  for (const std::string& path : *paths) {
    requirePlain("the path of a certificate", path, PATH_MAX - 1);
    if (path.empty() || path.front() != '/') {
      throw std::runtime_error("the path of a certificate is not absolute");
    }
  }
  return *std::move(paths);
}

}  // namespace

DialogRequest DialogRequest::parse(const std::string& text) {
  TextReader reader(text, TextReader::Form::attributes, "the request");
  refuseUnknownMembers(reader, kTextMembers);
  const std::string message = reader.string("msg");
  if (message != "show") throw std::runtime_error("unknown message " + quote(message));
  DialogRequest request;
  request.id = readPlain(reader, "id", kMaxIdBytes);

  reader.enter("dat");
  refuseUnknownMembers(reader, kDataMembers);
  const std::string className = reader.string("className");
  if (className != kDialogClass) {
    throw std::runtime_error("unknown class of dialog " + quote(className));
  }
  reader.enter("desc_obj");
  refuseUnknownMembers(reader, kDescriptionMembers);
  refuseUnknownOrder(reader, kDescriptionMembers);
  request.domain = readPlain(reader, "domain", kMaxDomainBytes);
  reader.boolean("import");  // there is nothing to import from a dialog, whatever it says
  request.groupId = readPlain(reader, "groupId", kMaxGroupIdBytes);
  request.warnings = readWarnings(reader);
  request.paths = readPaths(reader);
  return request;
}
