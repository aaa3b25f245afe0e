#include "tools/trustctl/exceptions/DocumentReader.h"

#include <errno.h>
#include <unistd.h>

#include <algorithm>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <rapidjson/error/en.h>
#include <rapidjson/reader.h>

#include "services/common/PrintableText.h"
#include "tools/trustctl/CommandError.h"
#include "tools/trustctl/Interruption.h"
#include "tools/trustctl/Suggestion.h"
#include "tools/trustctl/exceptions/DocumentRecord.h"
#include "tools/trustctl/exceptions/DocumentWriter.h"
#include "tools/trustctl/exceptions/ExceptionStore.h"

namespace {

// The bytes of a file, as RapidJSON takes them. For it a NUL is the end of the text; so the text
// seems to end as well where one decision is longer than any can be, or where reading fails.
class BoundedBytes {
 public:
  using Ch = char;

  explicit BoundedBytes(int fd) : fd_(fd), buffer_(std::size_t{64} * 1024, '\0') { fill(); }

  Ch Peek() const { return isOver() ? '\0' : buffer_[at_]; }
  Ch Take() {
    const Ch c = Peek();
    if (!isOver() && ++at_ == length_) {
      fill();
    }
    return c;
  }
  std::size_t Tell() const { return before_ + at_; }

  // Of a text to write to; there is none.
  Ch* PutBegin() { return nullptr; }
  void Put(Ch) {}
  void Flush() {}
  std::size_t PutEnd(Ch*) { return 0; }

  // From here on there may be as much as one decision needs.
  void startPiece() { pieceStart_ = Tell(); }

  bool isTooLong() const { return Tell() - pieceStart_ > maxRecordBytes; }
  bool isAtEnd() const { return length_ == 0; }
  int error() const { return error_; }

 private:
  bool isOver() const { return length_ == 0 || isTooLong(); }

  void fill() {
    before_ += length_;
    at_ = 0;
    ssize_t got = -1;
    do {
      Interruption::check();
      got = pread(fd_, buffer_.data(), buffer_.size(), static_cast<off_t>(before_));
    } while (got == -1 && errno == EINTR);
    error_ = got == -1 ? errno : 0;
    length_ = got > 0 ? static_cast<std::size_t>(got) : 0;
  }

  int fd_;
  std::string buffer_;
  std::size_t before_ = 0;  // bytes of the file before the buffer's
  std::size_t at_ = 0;
  std::size_t length_ = 0;
  std::size_t pieceStart_ = 0;
  int error_ = 0;
};

const std::vector<std::string> documentMembers = {"format", "version", "exceptions"};
const std::vector<std::string> recordMembers = {"domain",  "warnings", "warning_names", "chain",
                                                "created", "expires",  "reason"};
const std::vector<std::string> certificateMembers = {"sha256", "der"};

// Half of a pair that JSON wrote as an escape, which RapidJSON lets through. No valid text has it.
bool hasLoneSurrogate(std::string_view utf8) {
  for (std::size_t i = 0; i + 1 < utf8.size(); ++i) {
    if (utf8[i] == '\xed' && static_cast<unsigned char>(utf8[i + 1]) >= 0xa0) {
      return true;
    }
  }
  return false;
}

// Takes RapidJSON's events. An operation that returns false ends the parse, and problem() says why.
class DocumentHandler {
 public:
  DocumentHandler(BoundedBytes* bytes, const RecordTaker& take) : bytes_(bytes), take_(take) {}

  const std::string& problem() const { return problem_; }

  // "decision 12: " where it stands in one.
  std::string where() const {
    return place_ == Place::outside || place_ == Place::document || place_ == Place::list
               ? std::string()
               : fmt::format("decision {}: ", number_);
  }

  // After the whole text: what the document as a whole lacks.
  std::string whatIsMissing() const {
    for (const std::string& name : documentMembers) {
      if (documentSeen_.count(name) == 0) {
        return fmt::format("it has no \"{}\"", name);
      }
    }
    return {};
  }

  bool Null() {
    return isText() && place_ == Place::record && key_ != "warnings" ? true : wrongKind();
  }
  bool Bool(bool) { return wrongKind(); }
  bool RawNumber(const char* text, rapidjson::SizeType length, bool) {
    if (place_ != Place::document || key_ != "version") {
      return wrongKind();
    }
    return std::string_view(text, length) == "1" ||
           fail("it has another version than 1, which this program does not know; use a newer one");
  }
  bool Int(int) { return wrongKind(); }  // numbers come as text
  bool Uint(unsigned) { return wrongKind(); }
  bool Int64(std::int64_t) { return wrongKind(); }
  bool Uint64(std::uint64_t) { return wrongKind(); }
  bool Double(double) { return wrongKind(); }

  bool String(const char* text, rapidjson::SizeType length, bool) {
    std::string value(text, length);
    if (hasLoneSurrogate(value)) {
      return fail(fmt::format("\"{}\" is no valid text", printableText(key_)));
    }
    switch (place_) {
      case Place::document:
        if (key_ != "format") {
          return wrongKind();
        }
        return value == documentFormat || fail(fmt::format("its \"format\" is '{}' and not '{}'",
                                                           printableText(value), documentFormat));
      case Place::record:
        return isText() ? set(recordText(), std::move(value)) : wrongKind();
      case Place::names:
        record_.warningNames->push_back(std::move(value));
        return true;
      case Place::certificate:
        return set(key_ == "der" ? &certificate_.der : &certificate_.sha256, std::move(value));
      case Place::outside:
      case Place::list:
      case Place::chain:
        break;
    }
    return wrongKind();
  }

  bool StartObject() {
    switch (place_) {
      case Place::outside:
        return enter(Place::document);
      case Place::list:
        ++number_;
        record_ = {};
        recordSeen_.clear();
        bytes_->startPiece();
        return enter(Place::record);
      case Place::chain:
        certificate_ = {};
        certificateSeen_.clear();
        return enter(Place::certificate);
      default:
        return wrongKind();
    }
  }
  bool Key(const char* text, rapidjson::SizeType length, bool) {
    key_.assign(text, length);
    switch (place_) {
      case Place::document:
        return know(documentMembers, &documentSeen_);
      case Place::record:
        return know(recordMembers, &recordSeen_);
      default:
        return know(certificateMembers, &certificateSeen_);
    }
  }
  bool EndObject(rapidjson::SizeType) {
    switch (place_) {
      case Place::certificate:
        record_.chain->push_back(std::move(certificate_));
        key_ = "chain";
        return enter(Place::chain);
      case Place::record:
        return handOver();
      default:
        return enter(Place::outside);
    }
  }

  bool StartArray() {
    if (place_ == Place::document && key_ == "exceptions") {
      return enter(Place::list);
    }
    if (place_ == Place::record && key_ == "chain") {
      record_.chain.emplace();
      return enter(Place::chain);
    }
    if (place_ == Place::record && key_ == "warning_names") {
      record_.warningNames.emplace();
      return enter(Place::names);
    }
    return wrongKind();
  }
  bool EndArray(rapidjson::SizeType) {
    return enter(place_ == Place::list ? Place::document : Place::record);
  }

 private:
  // Where the next event belongs.
  enum class Place { outside, document, list, record, names, chain, certificate };

  bool enter(Place place) {
    place_ = place;
    return true;
  }

  bool fail(std::string problem) {
    problem_ = std::move(problem);
    return false;
  }

  bool wrongKind() {
    return fail(key_.empty()
                    ? std::string("it is not an object of decisions")
                    : fmt::format("\"{}\" is not of the kind it should be", printableText(key_)));
  }

  bool know(const std::vector<std::string>& names, std::set<std::string>* seen) {
    if (std::find(names.begin(), names.end(), key_) == names.end()) {
      return fail(fmt::format("it has a member \"{}\", which nobody knows{}", printableText(key_),
                              didYouMean(key_, names)));
    }
    return seen->insert(key_).second || fail(fmt::format("it has \"{}\" twice", key_));
  }

  bool isText() const { return key_ != "chain" && key_ != "warning_names"; }

  std::optional<std::string>* recordText() {
    return key_ == "domain"     ? &record_.domain
           : key_ == "warnings" ? &record_.warnings
           : key_ == "created"  ? &record_.created
           : key_ == "expires"  ? &record_.expires
                                : &record_.reason;
  }

  static bool set(std::optional<std::string>* member, std::string value) {
    *member = std::move(value);
    return true;
  }

  bool handOver() {
    ExceptionRecord record;
    try {
      record = checkedRecord(record_);
    } catch (const std::runtime_error& error) {
      return fail(error.what());
    }
    take_(number_, record);
    bytes_->startPiece();
    key_ = "exceptions";
    return enter(Place::list);
  }

  BoundedBytes* bytes_;
  const RecordTaker& take_;
  Place place_ = Place::outside;
  std::string key_;
  std::size_t number_ = 0;
  DocumentRecord record_;
  DocumentRecord::Certificate certificate_;
  std::set<std::string> documentSeen_, recordSeen_, certificateSeen_;
  std::string problem_;
};

[[noreturn]] void refuseDocument(const DocumentInput& input, const std::string& what) {
  throw CommandError(ExitStatus::wrongUse,
                     fmt::format("{}: {}; nothing may be imported from it before that is mended",
                                 input.name(), what));
}

std::string describeFailure(const BoundedBytes& bytes, const DocumentHandler& handler,
                            const rapidjson::ParseResult& result) {
  if (!handler.problem().empty()) {
    return handler.where() + handler.problem();
  }
  if (bytes.isTooLong()) {
    return handler.where() + "it is longer than any decision can be";
  }
  return fmt::format("{}it is not JSON at byte {}: {}", handler.where(), result.Offset(),
                     rapidjson::GetParseError_En(result.Code()));
}

}  // namespace

void readDocument(const DocumentInput& input, const RecordTaker& take) {
  BoundedBytes bytes(input.fd());
  DocumentHandler handler(&bytes, take);
  // The parser keeps its own stack on the heap, and numbers as they are written.
  constexpr unsigned flags = rapidjson::kParseIterativeFlag |
                             rapidjson::kParseValidateEncodingFlag |
                             rapidjson::kParseNumbersAsStringsFlag;
  rapidjson::Reader reader;
  const rapidjson::ParseResult result = reader.Parse<flags>(bytes, handler);
  if (bytes.error() != 0) {
    throw CommandError(ExitStatus::wrongUse,
                       fmt::format("{} cannot be read: {}; check the disk", input.name(),
                                   std::generic_category().message(bytes.error())));
  }
  if (result.IsError()) {
    refuseDocument(input, describeFailure(bytes, handler, result));
  }
  if (!bytes.isAtEnd()) {
    refuseDocument(input, fmt::format("it goes on after its end, with byte {}", bytes.Tell()));
  }
  const std::string missing = handler.whatIsMissing();
  if (!missing.empty()) {
    refuseDocument(input, missing);
  }
}
