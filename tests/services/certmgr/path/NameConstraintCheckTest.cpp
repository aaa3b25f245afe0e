#include "services/certmgr/path/NameConstraintCheck.h"

#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "tests/services/certmgr/path/MadeCertificate.h"

namespace {

using namespace std::string_literals;
using Kind = GeneralName::Kind;

// leaf <- issuer <- anchor
class NameConstraintCheck : public testing::Test {
 protected:
  std::string check() { return check({leaf, issuer, anchor}); }

  // "member name: evidence", a line each.
  static std::string check(const std::vector<CertificatePtr>& path,
                           std::int64_t units = Budget::kDefault) {
    Budget budget(units);
    std::vector<Finding> findings;
    checkNameConstraints(path, budget, findings);
    std::string text;
    for (const Finding& finding : findings) {
      text += std::to_string(finding.member) + " " + std::string(nameOf(finding.reason)) + ": " +
              finding.evidence + "\n";
    }
    return text;
  }

  std::shared_ptr<MadeCertificate> leaf =
      MadeCertificate::make({{kOrganization, "Shop"}}, {{kCommonName, "Issuer"}});
  std::shared_ptr<MadeCertificate> issuer =
      MadeCertificate::make({{kCommonName, "Issuer"}}, {{kCommonName, "Anchor"}});
  std::shared_ptr<MadeCertificate> anchor =
      MadeCertificate::make({{kCommonName, "Anchor"}}, {{kCommonName, "Anchor"}});
};

// One name, one subtree of its kind.
struct Pair {
  Kind kind;
  std::string subtree;
  std::string name;
};

class OneName : public NameConstraintCheck, public testing::WithParamInterface<Pair> {};

class NameInsidePermitted : public OneName {};
TEST_P(NameInsidePermitted, IsNotReported) {
  issuer->permit(GetParam().kind, GetParam().subtree);
  leaf->altName(GetParam().kind, GetParam().name);
  EXPECT_EQ("", check());
}
INSTANTIATE_TEST_SUITE_P(
    NameConstraintCheck, NameInsidePermitted,
    testing::Values(
        Pair{Kind::dns, "a.example", "a.example"}, Pair{Kind::dns, "a.example", "A.eXample"},
        Pair{Kind::dns, "a.example", "x.a.example"}, Pair{Kind::dns, "a.example", "y.x.a.example"},
        Pair{Kind::dns, "a.example", "a.example."}, Pair{Kind::dns, "a.example.", "a.example"},
        Pair{Kind::dns, ".a.example", "x.a.example"}, Pair{Kind::dns, "", "a.example"},
        Pair{Kind::dns, "a.example", "*.a.example"}, Pair{Kind::dns, ".a.example", "*.a.example"},
        Pair{Kind::dns, "a.example", "f*.a.example"},
        Pair{Kind::email, "joe@a.example", "joe@a.example"},
        Pair{Kind::email, "joe@a.example", "joe@A.Example"},
        Pair{Kind::email, "a.example", "joe@a.example"},
        Pair{Kind::email, ".a.example", "joe@x.a.example"},
        Pair{Kind::email, ".a.example", "joe@y.x.a.example"}, Pair{Kind::email, "", "joe@a"},
        Pair{Kind::uri, "a.example", "https://a.example/x"},
        Pair{Kind::uri, "a.example", "ldap://joe@A.example:389/x"},
        Pair{Kind::uri, ".a.example", "https://x.a.example"},
        Pair{Kind::address, "\x0a\0\0\0\xff\0\0\0"s, "\x0a\xff\xff\xff"s},
        Pair{Kind::address, "\x0a\0\0\x01\xff\xff\xff\xff"s, "\x0a\0\0\x01"s},
        Pair{Kind::address, std::string(8, '\0'), "\x0a\0\0\x01"s},
        Pair{Kind::address, std::string(32, '\0'), std::string(16, '\1')},
        Pair{Kind::directory, nameDer({{kOrganization, "Shop"}}),
             nameDer({{kOrganization, "SHOP"}, {kCommonName, "x"}})}));

class NameOutsidePermitted : public OneName {};
TEST_P(NameOutsidePermitted, IsReported) {
  issuer->permit(GetParam().kind, GetParam().subtree);
  leaf->altName(GetParam().kind, GetParam().name);
  EXPECT_TRUE(check().starts_with("0 name_not_permitted: "));
}
INSTANTIATE_TEST_SUITE_P(
    NameConstraintCheck, NameOutsidePermitted,
    testing::Values(
        Pair{Kind::dns, "a.example", "b.example"}, Pair{Kind::dns, "a.example", "ba.example"},
        Pair{Kind::dns, "a.example", "example"}, Pair{Kind::dns, "a.example", "a.example.x"},
        Pair{Kind::dns, ".a.example", "a.example"}, Pair{Kind::dns, "a.example", "*.example"},
        Pair{Kind::dns, "a.example", "*"}, Pair{Kind::dns, "x.a.example", "*.a.example"},
        Pair{Kind::dns, "a.example", "x\0.a.example"s}, Pair{Kind::dns, "a.example", ".a.example"},
        Pair{Kind::dns, "", "a b"}, Pair{Kind::dns, "", ""},
        Pair{Kind::dns, "a.example", "x..a.example"},
        Pair{Kind::email, "joe@a.example", "Joe@a.example"},
        Pair{Kind::email, "joe@a.example", "jo@a.example"},
        Pair{Kind::email, "a.example", "joe@x.a.example"},
        Pair{Kind::email, ".a.example", "joe@a.example"},
        Pair{Kind::email, "a.example", "joe@b.example"},
        Pair{Kind::email, "a.example", "\"joe\"@a.example"},
        Pair{Kind::email, "a.example", "a.example"}, Pair{Kind::email, "", "joe\n@a.example"},
        Pair{Kind::uri, "a.example", "https://x.a.example"},
        Pair{Kind::uri, ".a.example", "https://a.example"},
        Pair{Kind::uri, "a.example", "urn:a.example"}, Pair{Kind::uri, "", "urn:a.example"},
        Pair{Kind::uri, "", "https://192.0.2.1/"}, Pair{Kind::uri, "", "https://[2001:db8::1]/"},
        Pair{Kind::uri, "a.example", "https://a.example@b.example/"},
        Pair{Kind::address, "\x0a\0\0\0\xff\0\0\0"s, "\x0b\0\0\0"s},
        Pair{Kind::address, std::string(8, '\0'), std::string(16, '\1')},
        Pair{Kind::address, std::string(8, '\0'), "\x0a\0\0"s},
        Pair{Kind::directory, nameDer({{kOrganization, "Shop"}, {kCommonName, "x"}}),
             nameDer({{kOrganization, "Shop"}})}));

class NameInsideExcluded : public OneName {};
TEST_P(NameInsideExcluded, IsReported) {
  issuer->exclude(GetParam().kind, GetParam().subtree);
  leaf->altName(GetParam().kind, GetParam().name);
  EXPECT_TRUE(check().starts_with("0 name_excluded: "));
}
INSTANTIATE_TEST_SUITE_P(
    NameConstraintCheck, NameInsideExcluded,
    testing::Values(
        Pair{Kind::dns, "a.example", "A.EXAMPLE"}, Pair{Kind::dns, "a.example", "x.a.example"},
        Pair{Kind::dns, "a.example", "a.example."}, Pair{Kind::dns, ".a.example", "x.a.example"},
        Pair{Kind::dns, "", "a"}, Pair{Kind::dns, "a.example", "*.a.example"},
        Pair{Kind::dns, "a.example", "*.example"}, Pair{Kind::dns, ".a.example", "*.example"},
        Pair{Kind::dns, "y.x.example", "*.example"}, Pair{Kind::dns, "a.example", "a*.example"},
        Pair{Kind::dns, "a.example", "*"}, Pair{Kind::dns, "a.example", "b.other\0"s},
        Pair{Kind::dns, "a.example", "b\xc3\xa4.other"},
        Pair{Kind::email, "joe@a.example", "JOE@A.example"},
        Pair{Kind::email, "a.example", "joe@a.example"},
        Pair{Kind::email, ".a.example", "joe@x.a.example"},
        Pair{Kind::email, "joe@a.example", "\"joe\"@a.example"},
        Pair{Kind::uri, "a.example", "https://a.example"},
        Pair{Kind::uri, ".a.example", "https://x.a.example"},
        Pair{Kind::uri, "a.example", "https://192.0.2.1/"}, Pair{Kind::uri, "a.example", "urn:x"},
        Pair{Kind::address, "\x0a\0\0\0\xff\0\0\0"s, "\x0a\x01\x02\x03"s},
        Pair{Kind::address, "\x0a\0\0\0\xff\0\0\0"s, "\x0a"s},
        Pair{Kind::directory, nameDer({}), nameDer({{kOrganization, "x"}})}));

class NameOutsideExcluded : public OneName {};
TEST_P(NameOutsideExcluded, IsNotReported) {
  issuer->exclude(GetParam().kind, GetParam().subtree);
  leaf->altName(GetParam().kind, GetParam().name);
  EXPECT_EQ("", check());
}
INSTANTIATE_TEST_SUITE_P(
    NameConstraintCheck, NameOutsideExcluded,
    testing::Values(
        Pair{Kind::dns, "a.example", "b.example"}, Pair{Kind::dns, "a.example", "ba.example"},
        Pair{Kind::dns, ".a.example", "a.example"}, Pair{Kind::dns, "a.example", "*.b.example"},
        Pair{Kind::dns, "a.example", "example"},
        Pair{Kind::email, "joe@a.example", "ann@a.example"},
        Pair{Kind::email, "a.example", "joe@x.a.example"},
        Pair{Kind::email, ".a.example", "joe@a.example"},
        Pair{Kind::uri, "a.example", "https://x.a.example"},
        Pair{Kind::address, "\x0a\0\0\0\xff\0\0\0"s, "\x0b\0\0\0"s},
        Pair{Kind::address, std::string(8, '\0'), std::string(16, '\1')},
        Pair{Kind::directory, nameDer({{kOrganization, "x"}}), nameDer({{kOrganization, "y"}})}));

class SubtreeNobodyUnderstands : public OneName {};
TEST_P(SubtreeNobodyUnderstands, IsReportedForANameOfItsKind) {
  issuer->exclude(GetParam().kind, GetParam().subtree);
  leaf->altName(GetParam().kind, GetParam().name);
  EXPECT_TRUE(check().starts_with("0 constraint_not_understood: "));
}
INSTANTIATE_TEST_SUITE_P(
    NameConstraintCheck, SubtreeNobodyUnderstands,
    testing::Values(Pair{Kind::other, "x", "x"}, Pair{Kind::x400, "x", "y"},
                    Pair{Kind::ediParty, "x", "y"}, Pair{Kind::registeredId, "x", "y"},
                    Pair{Kind::dns, "*.a.example", "b.example"}, Pair{Kind::dns, ".", "b.example"},
                    Pair{Kind::dns, "a\0b"s, "b.example"}, Pair{Kind::uri, "http://a", "http://b"},
                    Pair{Kind::email, "@a", "joe@b"},
                    Pair{Kind::address, "\x0a\0\0\0"s, "\x0a\0\0\0"s},
                    Pair{Kind::address, "\x0a\0\0\0\xff\0\xff\0"s, "\x0a\0\0\0"s},
                    Pair{Kind::directory, "x", nameDer({{kOrganization, "y"}})}));

TEST_F(NameConstraintCheck, SubtreeNobodyUnderstandsDoesNotConcernNamesOfOtherKinds) {
  issuer->exclude(Kind::registeredId, "x");
  leaf->altName(Kind::dns, "a.example");
  EXPECT_EQ("", check());
}

TEST_F(NameConstraintCheck, SubtreeWithDistancesIsNotUnderstood) {
  issuer->permit(Kind::dns, "a.example");
  issuer->nameConstraints->permitted.back().hasDistances = true;
  leaf->altName(Kind::dns, "a.example");
  EXPECT_EQ("0 constraint_not_understood: DNS:a.example cannot be compared with DNS:a.example\n",
            check());
}

TEST_F(NameConstraintCheck, PathWithoutConstraintsPasses) {
  leaf->altName(Kind::dns, "a\0b"s);
  EXPECT_EQ("", check());
}

TEST_F(NameConstraintCheck, KindsWithoutPermittedSubtreesAreFree) {
  issuer->permit(Kind::dns, "a.example");
  leaf->altName(Kind::address, "\x0a\0\0\x01"s);
  EXPECT_EQ("", check());
}

TEST_F(NameConstraintCheck, ExcludedWinsOverPermitted) {
  issuer->permit(Kind::dns, "example").exclude(Kind::dns, "a.example");
  leaf->altName(Kind::dns, "x.a.example");
  EXPECT_EQ("0 name_excluded: DNS:x.a.example is within DNS:a.example\n", check());
}

TEST_F(NameConstraintCheck, OneOfSeveralPermittedSubtreesIsEnough) {
  issuer->permit(Kind::dns, "b.example").permit(Kind::dns, "a.example");
  leaf->altName(Kind::dns, "a.example");
  EXPECT_EQ("", check());
}

TEST_F(NameConstraintCheck, EveryIssuerHasToPermitTheName) {
  anchor->permit(Kind::dns, "b.example");
  issuer->permit(Kind::dns, "a.example");
  leaf->altName(Kind::dns, "a.example");
  EXPECT_EQ("0 name_not_permitted: DNS:a.example is outside of DNS:b.example\n", check());
}

TEST_F(NameConstraintCheck, EvidenceShowsTheNameEscapedAndHowManySubtreesThereAre) {
  issuer->permit(Kind::dns, "b.example").permit(Kind::dns, "c.example");
  leaf->altName(Kind::dns, "a\nb");
  EXPECT_EQ(
      "0 name_not_permitted: DNS:a\\x0ab is malformed, and so outside of DNS:b.example and 1 "
      "more\n",
      check());
}

TEST_F(NameConstraintCheck, OfSeveralNamesTheFirstIsReported) {
  issuer->permit(Kind::dns, "a.example");
  leaf->altName(Kind::dns, "c.example").altName(Kind::dns, "b.example");
  EXPECT_EQ("0 name_not_permitted: DNS:c.example is outside of DNS:a.example\n", check());
}

TEST_F(NameConstraintCheck, EachMemberIsReportedForItself) {
  anchor->permit(Kind::dns, "a.example");
  issuer->altName(Kind::dns, "b.example");
  leaf->altName(Kind::dns, "c.example");
  EXPECT_EQ(
      "1 name_not_permitted: DNS:b.example is outside of DNS:a.example\n"
      "0 name_not_permitted: DNS:c.example is outside of DNS:a.example\n",
      check());
}

TEST_F(NameConstraintCheck, OwnConstraintsDoNotBindTheIssuerItself) {
  issuer->permit(Kind::dns, "a.example").altName(Kind::dns, "b.example");
  EXPECT_EQ("", check());
}

TEST_F(NameConstraintCheck, ConstraintsOfTheLeafBindNobody) {
  leaf->permit(Kind::dns, "a.example").altName(Kind::dns, "b.example");
  EXPECT_EQ("", check());
}

TEST_F(NameConstraintCheck, SelfIssuedIssuerIsExempt) {
  const auto renewed = MadeCertificate::make({{kCommonName, "Anchor"}}, {{kCommonName, "Anchor"}});
  anchor->permit(Kind::directory, nameDer({{kOrganization, "Shop"}}));
  EXPECT_EQ("", check({leaf, renewed, anchor}));
}

TEST_F(NameConstraintCheck, SelfIssuedLeafIsNotExempt) {
  const auto own = MadeCertificate::make({{kCommonName, "Anchor"}}, {{kCommonName, "Anchor"}});
  anchor->permit(Kind::directory, nameDer({{kOrganization, "Shop"}}));
  EXPECT_EQ("0 name_not_permitted: DirName:CN=Anchor is outside of DirName:O=Shop\n",
            check({own, anchor}));
}

TEST_F(NameConstraintCheck, SubjectIsADirectoryName) {
  issuer->permit(Kind::directory, nameDer({{kOrganization, "Other"}}));
  EXPECT_EQ("0 name_not_permitted: DirName:O=Shop is outside of DirName:O=Other\n", check());
}

TEST_F(NameConstraintCheck, EmptySubjectIsNoName) {
  leaf->subject = DistinguishedName(nameDer({}));
  issuer->permit(Kind::directory, nameDer({{kOrganization, "Other"}}));
  EXPECT_EQ("", check());
}

TEST_F(NameConstraintCheck, MailboxInTheSubjectCounts) {
  leaf->subject = DistinguishedName(nameDer({{kEmailAddress, "joe@a.example"}}));
  issuer->exclude(Kind::email, "a.example");
  EXPECT_EQ("0 name_excluded: email:joe@a.example is within email:a.example\n", check());
}

TEST_F(NameConstraintCheck, MailboxInTheSubjectIsSilencedByAnAlternativeName) {
  leaf->subject = DistinguishedName(nameDer({{kEmailAddress, "joe@a.example"}}));
  leaf->altName(Kind::email, "joe@b.example");
  issuer->exclude(Kind::email, "a.example");
  EXPECT_EQ("", check());
}

TEST_F(NameConstraintCheck, CommonNameOfTheLeafCountsAsAHostForWantOfADnsName) {
  leaf->subject = DistinguishedName(nameDer({{kCommonName, "b.example"}}));
  leaf->altName(Kind::address, "\x0a\0\0\x01"s);
  issuer->permit(Kind::dns, "a.example");
  EXPECT_EQ("0 name_not_permitted: DNS:b.example is outside of DNS:a.example\n", check());
}

TEST_F(NameConstraintCheck, EveryCommonNameOfTheLeafCounts) {
  leaf->subject =
      DistinguishedName(nameDer({{kCommonName, "a.example"}, {kCommonName, "b.example"}}));
  issuer->permit(Kind::dns, "a.example");
  EXPECT_EQ("0 name_not_permitted: DNS:b.example is outside of DNS:a.example\n", check());
}

TEST_F(NameConstraintCheck, CommonNameIsSilencedByADnsName) {
  leaf->subject = DistinguishedName(nameDer({{kCommonName, "b.example"}}));
  leaf->altName(Kind::dns, "a.example");
  issuer->permit(Kind::dns, "a.example");
  EXPECT_EQ("", check());
}

TEST_F(NameConstraintCheck, CommonNameThatIsNoHostDoesNotCount) {
  leaf->subject = DistinguishedName(nameDer({{kCommonName, "The Shop, Ltd."}}));
  issuer->permit(Kind::dns, "a.example");
  EXPECT_EQ("", check());
}

TEST_F(NameConstraintCheck, CommonNameWithANulIsAMalformedHost) {
  leaf->subject = DistinguishedName(nameDer({{kCommonName, "b.example\0.a.example"s}}));
  issuer->permit(Kind::dns, "a.example");
  EXPECT_EQ(
      "0 name_not_permitted: DNS:b.example\\x00.a.example is malformed, and so outside of "
      "DNS:a.example\n",
      check());
}

TEST_F(NameConstraintCheck, SpacesDoNotSaveACommonNameWithAWildcard) {
  // A client that trims the labels matches it with every host of b.example.
  leaf->subject = DistinguishedName(nameDer({{kCommonName, "*. b .example"}}));
  issuer->permit(Kind::dns, "a.example");
  EXPECT_EQ(
      "0 name_not_permitted: DNS:*. b .example is malformed, and so outside of DNS:a.example\n",
      check());
}

TEST_F(NameConstraintCheck, CommonNameOfAnIssuerIsNoHost) {
  anchor->permit(Kind::dns, "a.example");
  issuer->subject = DistinguishedName(nameDer({{kCommonName, "b.example"}}));
  EXPECT_EQ("", check());
}

TEST_F(NameConstraintCheck, CommonNameThatIsAnAddressCountsAsOne) {
  leaf->subject = DistinguishedName(nameDer({{kCommonName, "10.0.0.1"}}));
  issuer->exclude(Kind::address, "\x0a\0\0\0\xff\0\0\0"s);
  EXPECT_EQ("0 name_excluded: IP Address:10.0.0.1 is within IP Address:10.0.0.0/8\n", check());
}

TEST_F(NameConstraintCheck, DnsNameThatIsAnAddressCountsAsOne) {
  leaf->altName(Kind::dns, "2001:db8::1");
  issuer->exclude(Kind::address, std::string(32, '\0'));
  EXPECT_EQ("0 name_excluded: IP Address:2001:db8::1 is within IP Address:::/0\n", check());
}

TEST_F(NameConstraintCheck, SpentBudgetIsAFinding) {
  issuer->permit(Kind::dns, "a.example");
  leaf->altName(Kind::dns, "a.example");
  EXPECT_EQ(
      "0 constraint_not_understood: there are too many names and constraints to compare them "
      "all\n",
      check({leaf, issuer, anchor}, 800));
}

TEST_F(NameConstraintCheck, NamesThatNobodyConstrainsCostToo) {
  issuer->permit(Kind::email, "a.example");
  for (int i = 0; i < 10000; ++i) leaf->altName(Kind::dns, "a.example");
  EXPECT_NE("", check({leaf, issuer, anchor}, 20'000));
}

TEST_F(NameConstraintCheck, LongNamesCostMoreToCompare) {
  for (const auto& one : {issuer, anchor}) one->permit(Kind::email, "");
  leaf->altName(Kind::email, std::string(60000, 'x') + "@a.example");
  EXPECT_NE("", check({leaf, issuer, anchor}, 250'000));
}

TEST_F(NameConstraintCheck, EvidenceOfALongNameIsShort) {
  issuer->exclude(Kind::dns, "a.example");
  leaf->altName(Kind::dns, std::string(60000, '\1') + ".a.example");
  EXPECT_LT(check().size(), 300U);
}

TEST_F(NameConstraintCheck, SpentBudgetIsNoFindingWhereNobodyConstrains) {
  leaf->altName(Kind::dns, "a.example");
  EXPECT_EQ("", check({leaf, issuer, anchor}, 0));
}

TEST_F(NameConstraintCheck, ThousandsOfNamesAndSubtreesStayWithinAFifthOfTheBudget) {
  for (int i = 0; i < 1000; ++i) issuer->permit(Kind::dns, "p" + std::to_string(i) + ".example");
  for (int i = 0; i < 10000; ++i) {
    leaf->altName(Kind::dns, std::to_string(i) + ".p" + std::to_string(i % 1000) + ".example");
  }
  EXPECT_EQ("", check({leaf, issuer, anchor}, Budget::kDefault / 5));
}

}  // namespace
