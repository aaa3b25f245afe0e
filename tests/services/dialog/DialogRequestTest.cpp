#include "services/dialog/DialogRequest.h"

#include <limits.h>

#include <stdexcept>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "trustlib/CertificateWarnings.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

// A request as clients put it together: without escaping anything.
std::string textWith(const std::string& description) {
  return "msg::show\nid::321\ndat:json:{\"className\":"
         "\"orb.dialog::CertificateVerificationDialog\",\"desc_obj\":{" +
         description + "}}\n";
}

std::string withDomain(const std::string& domain) {
  return textWith(R"("domain":")" + domain + R"(","import":false,"chain":["/a"])");
}

std::string withGroup(const std::string& group) {
  return textWith(R"("import":false,"groupId":")" + group + R"(","chain":["/a"])");
}

std::string withWarnings(const std::string& warnings) {
  return textWith(R"("import":false,"warnings":)" + warnings + R"(,"chain":["/a"])");
}

std::string withPath(const std::string& path) {
  return textWith(R"("import":false,"chain":[")" + path + "\"]");
}

std::string withPaths(std::size_t count) {
  std::string paths = "\"/a\"";
  for (std::size_t i = 1; i < count; ++i) paths += ",\"/a\"";
  return textWith("\"import\":false,\"chain\":[" + paths + "]");
}

std::string errorOf(const std::string& text) {
  try {
    DialogRequest::parse(text);
  } catch (const std::runtime_error& failure) {
    return failure.what();
  }
  return "(accepted)";
}

TEST(DialogRequest, EveryMemberIsRead) {
  const DialogRequest request = DialogRequest::parse(
      textWith(R"("domain":"a.test","import":false,"groupId":"7","warnings":["NO_TRUSTED",)"
               R"("DOMAINNAME_MISMATCH"],"chain":["/leaf","/issuer"])"));
  EXPECT_EQ("321", request.id);
  EXPECT_EQ("a.test", request.domain);
  EXPECT_EQ("7", request.groupId);
  EXPECT_EQ(CertificateWarnings::NO_TRUSTED | CertificateWarnings::DOMAINNAME_MISMATCH,
            request.warnings);
  EXPECT_THAT(request.paths, ElementsAre("/leaf", "/issuer"));
}

TEST(DialogRequest, WhatMayBeAbsentMay) {
  const DialogRequest request = DialogRequest::parse(
      "msg::show\ndat:json:{\"className\":\"orb.dialog::CertificateVerificationDialog\","
      "\"desc_obj\":{\"import\":false,\"chain\":[\"/leaf\"]}}\n");
  EXPECT_FALSE(request.id);
  EXPECT_FALSE(request.domain);
  EXPECT_FALSE(request.groupId);
  EXPECT_EQ(0U, request.warnings);
}

TEST(DialogRequest, EveryWarningHasItsName) {
  std::string names;
  unsigned long long all = 0;
  for (int i = 0; i < CertificateWarnings::nameCount; ++i) {
    names += std::string(i > 0 ? "," : "") + "\"" + CertificateWarnings::names()[i].text + "\"";
    all |= CertificateWarnings::names()[i].flag;
  }
  EXPECT_EQ(all, DialogRequest::parse(withWarnings("[" + names + "]")).warnings);
}

TEST(DialogRequest, DomainThatIsNoUtf8StaysAsItIs) {
  EXPECT_EQ("\xff\xfe", DialogRequest::parse(withDomain("\xff\xfe")).domain);
}

TEST(DialogRequest, LongestTextsAndMostCertificatesAreTaken) {
  EXPECT_EQ("(accepted)", errorOf(withDomain(std::string(DialogRequest::kMaxDomainBytes, 'a'))));
  EXPECT_EQ("(accepted)", errorOf(withGroup(std::string(DialogRequest::kMaxGroupIdBytes, 'a'))));
  EXPECT_EQ("(accepted)", errorOf(withPath("/" + std::string(PATH_MAX - 2, 'a'))));
  EXPECT_EQ("(accepted)", errorOf(withPaths(DialogRequest::kMaxCertificates)));
}

struct Refused {
  std::string text;
  std::string reason;
};

class DialogRequestRefused : public testing::TestWithParam<Refused> {};

TEST_P(DialogRequestRefused, ItIsRefusedWithItsReason) {
  EXPECT_THAT(errorOf(GetParam().text), HasSubstr(GetParam().reason));
}

INSTANTIATE_TEST_SUITE_P(
    Form, DialogRequestRefused,
    testing::Values(
        Refused{"", "has no string \"msg\""}, Refused{"rubbish", "is no attribute text"},
        Refused{std::string("msg::show\0", 10), "NUL"},
        Refused{"msg::hide\nid::1\ndat:json:{}\n", "unknown message \"hide\""},
        Refused{"msg::show\nid::1\n", "has no object or array \"dat\""},
        Refused{"msg::show\ndat::text\n", "\"dat\" of the request is no object or array"},
        Refused{"msg::show\ndat:json:{}\n", "has no string \"className\""},
        Refused{"msg::show\ndat:json:{\"className\":\"orb.dialog::Other\",\"desc_obj\":{}}\n",
                "unknown class of dialog \"orb.dialog::Other\""},
        Refused{"msg::show\ndat:json:{\"className\":"
                "\"orb.dialog::CertificateVerificationDialog\"}\n",
                "has no object or array \"desc_obj\""},
        Refused{textWith("") + "more::1\n", "a member that nobody knows: \"more\""},
        Refused{"msg::show\nmsg::show\n", "two members of one name"},
        Refused{"msg::show\ndat:json:{\"className\":\"\",\"desc_obj\":{},\"x\":1}\n",
                "a member that nobody knows: \"x\""},
        Refused{"msg::show\nid::" + std::string(DialogRequest::kMaxIdBytes + 1, '1') + "\n",
                "\"id\" is longer than 256 bytes"},
        Refused{"msg::show\nid:json:\"\\u0007\"\n", "\"id\" holds a control byte"}));

INSTANTIATE_TEST_SUITE_P(
    Description, DialogRequestRefused,
    testing::Values(
        Refused{textWith(R"("chain":["/a"])"), "has no true or false \"import\""},
        Refused{textWith(R"("import":"no","chain":["/a"])"), "\"import\" of the request is no"},
        Refused{textWith(R"("import":false,"chain":["/a"],"extra":1)"),
                "a member that nobody knows: \"extra\""},
        Refused{textWith(R"("import":false,"import":true,"chain":["/a"])"), "two members"},
        Refused{textWith(R"("domain":7,"import":false,"chain":["/a"])"), "\"domain\""},
        Refused{withDomain(std::string(DialogRequest::kMaxDomainBytes + 1, 'a')),
                "\"domain\" is longer than 1024 bytes"},
        Refused{withDomain("\\u001b[2J"), "\"domain\" holds a control byte"},
        Refused{withDomain("\x1b[2J"), "request"}, Refused{withDomain("\\u0000"), "request"},
        Refused{withDomain("a\x7f"), "\"domain\" holds a control byte"},
        Refused{withDomain("a\nb"), "request"},
        Refused{withGroup(std::string(DialogRequest::kMaxGroupIdBytes + 1, 'a')),
                "\"groupId\" is longer than 256 bytes"},
        Refused{withGroup("\\n"), "\"groupId\" holds a control byte"},
        Refused{withWarnings("[\"NO_SUCH\"]"), "unknown warning \"NO_SUCH\""},
        Refused{withWarnings("[\"no_trusted\"]"), "unknown warning"},
        Refused{withWarnings(R"(["REVOKED","REVOKED"])"), "\"REVOKED\" is named twice"},
        Refused{withWarnings("\"REVOKED\""), "\"warnings\" of the request is no array of strings"},
        Refused{withWarnings("[1]"), "is no array of strings"}));

INSTANTIATE_TEST_SUITE_P(
    Chain, DialogRequestRefused,
    testing::Values(
        Refused{textWith(R"("import":false)"), "names no certificate"},
        Refused{textWith(R"("import":false,"chain":[])"), "names no certificate"},
        Refused{textWith(R"("import":false,"chain":])"), "is no attribute text"},
        Refused{textWith(R"("import":false,"chain":"/a")"), "is no array of strings"},
        Refused{textWith(R"("import":false,"chain":{"a":"/a"})"), "is no array of strings"},
        Refused{withPaths(DialogRequest::kMaxCertificates + 1), "more than 32 certificates"},
        Refused{withPath(""), "is not absolute"}, Refused{withPath("leaf.der"), "is not absolute"},
        Refused{withPath("/" + std::string(PATH_MAX - 1, 'a')), "is longer than"},
        Refused{withPath("/a\\tb"), "the path of a certificate holds a control byte"}));

// Values that close their quotes and bring members of their own.
INSTANTIATE_TEST_SUITE_P(
    Forged, DialogRequestRefused,
    testing::Values(
        Refused{withDomain(R"(good.test","import":false,"chain":["/b"],"x":")"), "request"},
        Refused{withDomain(R"(good.test","warnings":[],"groupId":")"), "out of its place"},
        Refused{withDomain(R"(good.test","groupId":")"), "\"import\" of the request is out of"},
        Refused{withDomain(R"(good.test","domain":"bad.test)"), "two members"},
        Refused{withDomain(R"(good.test"},"desc_obj":{"domain":")"), "two members"},
        Refused{withDomain("x\",\"import\":false,\"chain\":[\"/b\"]}}\nid::1\nx::"), "two members"},
        Refused{withDomain("x\",\"import\":false,\"chain\":[\"/b\"]}}\nx::"),
                "a member that nobody knows: \"x\""},
        Refused{withGroup(R"(7","domain":"good.test)"), "\"domain\" of the request is out of"},
        Refused{withPath(R"(/a"],"domain":"good.test","x":[")"), "request"},
        Refused{withPath(R"(/a"],"warnings":["REVOKED)"), "\"warnings\" of the request is out"}));

}  // namespace
