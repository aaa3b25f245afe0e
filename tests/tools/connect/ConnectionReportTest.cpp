#include "tools/trustctl/connect/ConnectionReport.h"

#include <algorithm>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::HasSubstr;
using testing::Not;

using Signature = StapledAnswer::Signature;
using Status = StapledAnswer::Status;

constexpr std::int64_t now = 1735689600;
constexpr std::int64_t day = 86400;

std::string fieldOf(const ConnectionFacts& connection, const std::string& label) {
  const auto fields = fieldsOf(connection, now);
  const auto found = std::find_if(fields.begin(), fields.end(),
                                  [&label](const auto& field) { return field.label == label; });
  return found == fields.end() ? "(no such field)" : found->value;
}

ConnectionFacts withAnswer(std::int64_t from, std::int64_t to, Signature signature) {
  ConnectionFacts connection;
  connection.stapled = {Status::good, "", from, to, {}, signature};
  return connection;
}

std::string jsonOf(const ConnectionFacts& connection) {
  TextWriter object(TextWriter::Form::json);
  addConnection(&object, connection);
  return object.text();
}

TEST(ConnectionReport, MarksAStapledAnswerThatIsOutOfDate) {
  EXPECT_THAT(fieldOf(withAnswer(now - 2 * day, now - day, Signature::valid), "OCSP"),
              HasSubstr(", OUT OF DATE;"));
}

TEST(ConnectionReport, MarksAStapledAnswerOfTheFuture) {
  EXPECT_THAT(fieldOf(withAnswer(now + day, now + 2 * day, Signature::valid), "OCSP"),
              HasSubstr(", NOT VALID YET;"));
}

TEST(ConnectionReport, DoesNotMarkAStapledAnswerOfToday) {
  EXPECT_EQ(
      "good; stapled answer of 2024-12-31T00:00:00Z, good until 2025-01-02T00:00:00Z; signed "
      "for the issuer",
      fieldOf(withAnswer(now - day, now + day, Signature::valid), "OCSP"));
}

TEST(ConnectionReport, MarksAStapledAnswerThatTheIssuerDidNotSign) {
  EXPECT_THAT(fieldOf(withAnswer(now - day, now + day, Signature::invalid), "OCSP"),
              HasSubstr("NOT SIGNED for the issuer"));
}

TEST(ConnectionReport, SaysWhereASignatureCouldNotBeChecked) {
  EXPECT_THAT(fieldOf(withAnswer(now - day, now + day, Signature::unchecked), "OCSP"),
              HasSubstr("signature unchecked"));
}

TEST(ConnectionReport, TellsWhyAStapledAnswerIsUnusable) {
  ConnectionFacts connection;
  connection.stapled.status = Status::unusable;
  connection.stapled.problem = "it is no OCSP response";
  EXPECT_EQ("stapled answer is unusable: it is no OCSP response", fieldOf(connection, "OCSP"));
  EXPECT_THAT(jsonOf(connection),
              HasSubstr(R"("ocsp":{"status":"unusable","problem":"it is no OCSP response"})"));
}

TEST(ConnectionReport, EscapesWhatTheServerChose) {
  ConnectionFacts connection;
  connection.askedAlpn = true;
  connection.alpn = std::string("h2\n\x1b[2J\0\xff", 9);
  EXPECT_EQ("h2\\x0a\\x1b[2J\\x00\\xff", fieldOf(connection, "ALPN"));
  EXPECT_THAT(jsonOf(connection), HasSubstr(R"("alpn":"h2\\x0a\\x1b[2J\\x00\\xff")"));
}

TEST(ConnectionReport, LeavesOutWhatWasNotAskedFor) {
  const ConnectionFacts connection;
  for (const char* label : {"ALPN", "STARTTLS", "client", "note"}) {
    EXPECT_EQ("(no such field)", fieldOf(connection, label));
  }
}

TEST(ConnectionReport, HasRoomForEveryLabel) {
  ConnectionFacts connection;
  connection.askedAlpn = true;
  connection.asksForCertificate = true;
  connection.bearsAddress = true;
  connection.startTls = "smtp";
  for (const ConnectionField& field : fieldsOf(connection, now)) {
    EXPECT_GE(9U, std::string(field.label).size());
    EXPECT_THAT(field.value, Not(HasSubstr("\n")));
  }
}

}  // namespace
