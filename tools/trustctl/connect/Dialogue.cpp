#include "tools/trustctl/connect/Dialogue.h"

#include <algorithm>

#include <fmt/format.h>

#include "services/common/PrintableText.h"
#include "tools/trustctl/CommandError.h"

namespace {

constexpr std::size_t longestAnswer = 65536;
constexpr int mostLines = 200;

// A TLS record instead of words: the server speaks TLS from the start.
bool looksLikeTls(const std::string& said) {
  return said.size() >= 2 && said[0] >= 0x14 && said[0] <= 0x17 && said[1] == 0x03;
}

}  // namespace

void Dialogue::send(std::string_view bytes) {
  received_ = 0;
  socket_->send(bytes.data(), bytes.size());
}

std::string Dialogue::readLine() {
  std::string line = readThrough({"\n"});
  line.pop_back();
  if (!line.empty() && line.back() == '\r') {
    line.pop_back();
  }
  return line;
}

std::string Dialogue::readThrough(std::initializer_list<std::string_view> marks) {
  for (;;) {
    std::size_t end = std::string::npos;
    for (const std::string_view mark : marks) {
      const std::size_t at = buffer_.find(mark);
      end = at == std::string::npos ? end : std::min(end, at + mark.size());
    }
    if (end != std::string::npos) {
      return take(end);
    }
    receiveMore();
  }
}

std::string Dialogue::readBytes(std::size_t count) {
  while (buffer_.size() < count) {
    receiveMore();
  }
  return take(count);
}

std::string Dialogue::readCodedReply() {
  std::string reply;
  for (int lines = 0; lines < mostLines; ++lines) {
    const std::string line = readLine();
    const bool isCoded =
        line.size() >= 3 &&
        std::all_of(line.begin(), line.begin() + 3, [](char c) { return c >= '0' && c <= '9'; });
    // Within an answer of several lines FTP allows any text.
    if (!isCoded && reply.empty()) {
      failAsOtherProtocol(line);
    }
    reply += line + '\n';
    const bool isLast =
        isCoded && line.substr(0, 3) == reply.substr(0, 3) && (line.size() == 3 || line[3] != '-');
    if (isLast) {
      return reply;
    }
  }
  fail(fmt::format("answers with more than {} lines; what it said first is", mostLines), reply);
}

void Dialogue::requireNothingMore() const {
  if (!buffer_.empty()) {
    fail("went on in the clear when TLS was to begin, which may be an attack on the way; it sent",
         buffer_);
  }
}

void Dialogue::fail(const std::string& words, const std::string& said) const {
  const std::string text = said.empty() ? "nothing" : fmt::format("'{}'", printableText(said));
  throw CommandError(ExitStatus::undecided,
                     fmt::format("{} {} {}", socket_->server(), words, text));
}

void Dialogue::failAsOtherProtocol(const std::string& said) const {
  if (looksLikeTls(said)) {
    fail(fmt::format("speaks TLS from the start and not {}; leave --starttls out; it sent",
                     protocol_),
         said);
  }
  fail(fmt::format("does not speak {}; check the port and --starttls; it said", protocol_), said);
}

std::string Dialogue::take(std::size_t count) {
  std::string taken = buffer_.substr(0, count);
  buffer_.erase(0, count);
  return taken;
}

void Dialogue::receiveMore() {
  if (received_ >= longestAnswer) {
    fail(fmt::format("sent more than {} bytes without an end; among them are", longestAnswer),
         buffer_);
  }
  char piece[4096];
  const std::size_t count = socket_->receive(piece, sizeof piece);
  if (count == 0) {
    fail(fmt::format(
             "closed the connection before TLS began, in the {} dialogue; its last words are",
             protocol_),
         buffer_);
  }
  buffer_.append(piece, count);
  received_ += count;
  if (!hasBegun_ && looksLikeTls(buffer_)) {
    failAsOtherProtocol(buffer_);  // no line of words will come
  }
  hasBegun_ = true;
}
