// How text for people is laid out: on terminals of any width and character set, and in pipes.

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/PseudoTerminal.h"
#include "tests/tools/TrustctlFixture.h"

namespace {

using testing::HasSubstr;
using testing::Not;

class Page : public AuthorityTest {
 protected:
  static std::size_t longestLine(const std::string& text) {
    std::size_t longest = 0;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) longest = std::max(longest, line.size());
    return longest;
  }
};

// Standard output is a terminal of those columns.
class PageOnTerminal : public Page {
 protected:
  std::string shown(const std::vector<std::string>& arguments, unsigned short columns = 80) {
    terminal_.resize(24, columns);
    finish(start(arguments, "", terminal_.path()));
    return terminal_.drawn();
  }

  PseudoTerminal terminal_;
};

TEST_F(PageOnTerminal, LinesAreNoLongerThanTheTerminalIsWide) {
  const std::string text = shown({"explain", "NO_TRUSTED"}, 50);
  EXPECT_GE(51U, longestLine(text)) << text;  // a terminal ends lines in two bytes
  EXPECT_LT(40U, longestLine(text));
}

TEST_F(PageOnTerminal, FieldsFitANarrowTerminal) {
  const std::string text = shown(verifyWithRoot({"--color=never", chainFile_}), 40);
  EXPECT_GE(41U, longestLine(text)) << text;
  EXPECT_THAT(text, HasSubstr("2020-01-01T00:00:00Z to\r\n"));
}

TEST_F(PageOnTerminal, ColoursAreUsed) {
  EXPECT_THAT(shown(verifyWithRoot({chainFile_})), HasSubstr("\x1b[1;32mTRUSTED"));
}

TEST_F(PageOnTerminal, NoColorIsHeeded) {
  environment_["NO_COLOR"] = "1";
  EXPECT_THAT(shown(verifyWithRoot({chainFile_})), Not(HasSubstr("\x1b")));
}

TEST_F(PageOnTerminal, ColourNeverIsHeeded) {
  EXPECT_THAT(shown(verifyWithRoot({"--color=never", chainFile_})), Not(HasSubstr("\x1b")));
}

TEST_F(PageOnTerminal, WithoutUtf8CharactersAreShownByTheirNumbers) {
  const std::string file =
      directory_.write("umlaut.pem", CertificateMaker("M\u00fcller").make().pem());
  environment_["LC_ALL"] = "C";
  EXPECT_THAT(shown({"verify", "--cafile", rootFile_, file}), HasSubstr("CN=M\\u{fc}ller"));
}

TEST_F(PageOnTerminal, WithUtf8CharactersAreShownAsTheyAre) {
  const std::string file =
      directory_.write("umlaut.pem", CertificateMaker("M\u00fcller").make().pem());
  environment_["LC_ALL"] = "C.UTF-8";
  EXPECT_THAT(shown({"verify", "--cafile", rootFile_, file}), HasSubstr("CN=M\u00fcller"));
}

TEST_F(Page, PipesGetNoColour) {
  EXPECT_THAT(run(verifyWithRoot({chainFile_})).out, Not(HasSubstr("\x1b")));
}

TEST_F(Page, ColourAlwaysColoursPipesToo) {
  EXPECT_THAT(run(verifyWithRoot({"--color", "always", chainFile_})).out,
              HasSubstr("\x1b[1;32mTRUSTED\x1b[0m"));
}

TEST_F(Page, ColourAlwaysGoesBeforeNoColour) {
  environment_["NO_COLOR"] = "1";
  EXPECT_THAT(run(verifyWithRoot({"--color=always", chainFile_})).out, HasSubstr("\x1b["));
}

TEST_F(Page, UnknownColourIsWrongUse) {
  const ProgramRun result = run({"explain", "--color", "blue"});
  EXPECT_EQ(2, result.status);
  EXPECT_TRUE(isComplaint(result.err, "blue"));
}

TEST_F(Page, HelpFitsThePage) {
  const ProgramRun result = run({"verify", "--help"});
  const std::string options = result.out.substr(0, result.out.find("Examples:"));
  EXPECT_GE(80U, longestLine(options)) << options;
}

TEST_F(Page, MistypedOptionGetsASuggestion) {
  const ProgramRun result = run({"verify", "--cafle", rootFile_, chainFile_});
  EXPECT_EQ(2, result.status);
  EXPECT_TRUE(isComplaint(result.err, "there is no option '--cafle' (did you mean --cafile?)"));
  EXPECT_TRUE(isComplaint(result.err, "trustctl verify --help"));
}

TEST_F(Page, MistypedOptionWithAValueGetsASuggestion) {
  EXPECT_TRUE(isComplaint(run({"verify", "--cafle=x", "y"}).err, "(did you mean --cafile?)"));
}

TEST_F(Page, WordsBehindTwoDashesAreNoOptions) {
  const ProgramRun result = run({"verify", "--", "--nothing"});
  EXPECT_TRUE(isComplaint(result.err, "'--nothing' cannot be read"));
}

TEST_F(Page, GroupWithoutACommandSaysWhatThereIs) {
  const ProgramRun result = run({"completion"});
  EXPECT_EQ(2, result.status);
  EXPECT_TRUE(isComplaint(result.err, "say what to do: bash"));
}

}  // namespace
