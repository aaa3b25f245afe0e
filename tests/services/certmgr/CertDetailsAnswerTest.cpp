#include "services/certmgr/CertDetailsAnswer.h"

#include <algorithm>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/Throws.h"

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

constexpr std::size_t kMost = 16383;

CertDetailsAnswer answerWith(std::vector<std::string> names) {
  CertDetailsAnswer answer;
  answer.id = "1";
  answer.serial = "01";
  answer.commonNames = {"common.example"};
  answer.subjectAltNames = std::move(names);
  answer.chain = {"/leaf.der"};
  return answer;
}

// `count` names in "<start>NNNNN<end>", all different.
std::vector<std::string> numbered(std::size_t count, const std::string& start,
                                  const std::string& end) {
  std::vector<std::string> names;
  for (std::size_t i = 0; i < count; ++i) {
    names.push_back(std::string(start).append(std::to_string(10000 + i)).append(end));
  }
  return names;
}

std::vector<std::string> operator+(std::vector<std::string> left,
                                   const std::vector<std::string>& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

std::string upper(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; });
  return text;
}

TEST(CertDetailsAnswer, AnswerThatFitsIsNotTouched) {
  const auto answer =
      answerWith({"email:a@a.example", "DNS:a.x.example", "DNS:*.x.example", "DNS:A.x.example"});
  EXPECT_EQ(answer.encode(), answer.encodeWithin(kMost));
}

TEST(CertDetailsAnswer, AnswerOfExactlyTheLimitIsNotTouched) {
  const auto answer = answerWith({"email:a@a.example", "DNS:a.example"});
  EXPECT_EQ(answer.encode(), answer.encodeWithin(answer.encode().size()));
}

TEST(CertDetailsAnswer, OtherNamesGoFirstAndDuplicatesStayWhenThatIsEnough) {
  const std::vector<std::string> hosts = {"DNS:a.x.example", "DNS:A.x.example", "DNS:*.x.example"};
  EXPECT_EQ(answerWith(hosts).encode(),
            answerWith(hosts + numbered(1000, "email:", "@a.example")).encodeWithin(kMost));
}

TEST(CertDetailsAnswer, DuplicatesGoNextAndCoveredNamesStayWhenThatIsEnough) {
  const auto hosts =
      numbered(400, "DNS:host", ".x.example") + std::vector<std::string>{"DNS:*.x.example"};
  auto twice = hosts;
  for (const std::string& name : hosts) twice.push_back("DNS:" + upper(name.substr(4)));
  EXPECT_EQ(answerWith(hosts).encode(),
            answerWith(twice + std::vector<std::string>{"email:a@a.example"}).encodeWithin(kMost));
}

TEST(CertDetailsAnswer, CoveredNamesGoLast) {
  EXPECT_EQ(answerWith({"DNS:other.example", "DNS:*.x.example"}).encode(),
            answerWith(std::vector<std::string>{"DNS:other.example"} +
                       numbered(10000, "DNS:h", ".x.example") +
                       std::vector<std::string>{"DNS:*.x.example"})
                .encodeWithin(kMost));
}

TEST(CertDetailsAnswer, OrderOfTheNamesDoesNotDecideWhichStay) {
  auto names = numbered(900, "DNS:h", ".x.example") + numbered(10, "DNS:k", ".y.example") +
               std::vector<std::string>{"DNS:*.x.example", "email:a@x.example"};
  std::shuffle(names.begin(), names.end(), std::mt19937(1));
  const std::string text = answerWith(names).encodeWithin(kMost);
  EXPECT_THAT(text, AllOf(HasSubstr("DNS:k10009.y.example"), HasSubstr("DNS:*.x.example"),
                          Not(HasSubstr("DNS:h1")), Not(HasSubstr("email:"))));
}

TEST(CertDetailsAnswer, CommonNamesStay) {
  EXPECT_THAT(answerWith(numbered(1000, "URI:https://", ".x.example")).encodeWithin(kMost),
              HasSubstr(R"("subjectCommonName":["common.example"],"subjectAltNames":[],)"));
}

TEST(CertDetailsAnswer, MoreHostsThanFitAreAnErrorThatCountsThem) {
  const auto answer = answerWith(numbered(10000, "DNS:h", ".x.example"));
  EXPECT_THROWS((void)answer.encodeWithin(kMost), std::runtime_error,
                "the certificate names 10000 hosts, more than an answer of 16383 bytes holds");
}

TEST(CertDetailsAnswer, RestThatDoesNotFitWithoutNamesIsAnotherError) {
  auto answer = answerWith({"DNS:a.example"});
  answer.chain.assign(8, "/" + std::string(4000, 'd'));
  EXPECT_THROWS((void)answer.encodeWithin(kMost), std::runtime_error,
                "the certificate's common names and the paths of its chain are more than an answer "
                "of 16383 bytes holds");
}

}  // namespace
