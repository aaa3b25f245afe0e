#include "tools/trustctl/exceptions/DocumentWriter.h"

#include <cstdint>
#include <stdexcept>

#include <fmt/format.h>

#include "services/common/TextWriter.h"
#include "services/common/WarningTexts.h"
#include "tools/trustctl/exceptions/RecordText.h"
#include "trustlib/util/Utilities.h"

const char* const documentFormat = "trustlib-exceptions";
const char* const documentStart =
    "{\"format\":\"trustlib-exceptions\",\"version\":1,\"exceptions\":[";
const char* const documentEnd = "\n]}\n";

namespace {

std::string base64Of(const CertificateDer& der) {
  std::string text;
  // It takes the bytes without const, and changes nothing.
  auto* const bytes = const_cast<unsigned char*>(der.data());
  if (Utilities::base64Encode(bytes, static_cast<unsigned>(der.size()), &text) != 0) {
    throw std::runtime_error("a certificate cannot be written as base64");
  }
  return text;
}

// What a terminal could take for anything but text is left to JSON's own escapes. `json` is valid
// UTF-8, and outside its strings all is ASCII.
std::string inAscii(const std::string& json) {
  std::string out;
  out.reserve(json.size());
  for (std::size_t i = 0; i < json.size();) {
    const auto lead = static_cast<unsigned char>(json[i]);
    if (lead < 0x7f) {
      out += json[i++];
      continue;
    }
    const std::size_t length = lead < 0x80 ? 1 : lead < 0xe0 ? 2 : lead < 0xf0 ? 3 : 4;
    std::uint32_t character = length == 1 ? lead : lead & (0xffU >> (length + 1));
    for (std::size_t k = 1; k < length; ++k) {
      character = (character << 6U) | (static_cast<unsigned char>(json[i + k]) & 0x3fU);
    }
    i += length;
    if (character < 0x10000) {
      out += fmt::format("\\u{:04x}", character);
    } else {
      character -= 0x10000;
      out += fmt::format("\\u{:04x}\\u{:04x}", 0xd800 + (character >> 10U),
                         0xdc00 + (character & 0x3ffU));
    }
  }
  return out;
}

void requireUtf8(const char* what, const std::optional<std::string>& text) {
  if (text && !isValidUtf8(*text)) {
    throw std::runtime_error(
        fmt::format("its {} is no valid UTF-8, which no JSON document can hold", what));
  }
}

void addTime(const char* name, const std::optional<std::int64_t>& moment, TextWriter* object) {
  if (moment) {
    object->add(name, momentText(moment));
  }
}

}  // namespace

std::string documentLine(const ExceptionRecord& record, bool isFirst) {
  requireUtf8("domain", record.domain);
  requireUtf8("reason", record.reason);
  TextWriter object(TextWriter::Form::json);
  if (record.domain) {
    object.add("domain", *record.domain);
  }
  object.add("warnings", std::to_string(static_cast<long long>(record.warnings)));
  object.addArray("warning_names", namesOfWarnings(record.warnings));
  object.startArray("chain");
  for (const CertificateDer& der : record.chain) {
    object.startObject(nullptr);
    object.add("sha256", sha256Of(der));
    object.add("der", base64Of(der));
    object.endObject();
  }
  object.endArray();
  addTime("created", record.created, &object);
  addTime("expires", record.expires, &object);
  if (record.reason) {
    object.add("reason", *record.reason);
  }
  return (isFirst ? "\n" : ",\n") + inAscii(object.text());
}
