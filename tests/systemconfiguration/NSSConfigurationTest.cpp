// The name-service switch configuration model as a whole: writing it, and
// reading it from text.
#include <gtest/gtest.h>

#include <quarryauth/systemconfiguration.h>

#include <deque>
#include <sstream>
#include <stdexcept>
#include <string>

#include "systemconfiguration/NSSTestSupport.h"

namespace sc = SystemConfiguration;
using nss_test::kDatabases;
using nss_test::MessageOf;
using nss_test::Read;
using nss_test::Service;
using nss_test::Written;
using sc::InvalidDatabaseException;
using sc::NSSConfiguration;
using sc::NSSDatabase;
using sc::NSSService;

// --- NSSConfiguration: writing --------------------------------------------

TEST(NSSConfigurationTest, EmptyConfigurationWritesNothing) {
  EXPECT_EQ("", Written(NSSConfiguration()));
}

TEST(NSSConfigurationTest, DatabasesAreWrittenInNumberOrder) {
  NSSConfiguration configuration;
  for (auto row = kDatabases.rbegin(); row != kDatabases.rend(); ++row) {
    configuration[row->second].push_back(Service("files"));
  }
  std::string expected;
  for (const auto& [token, value] : kDatabases) expected += token + ": files\n";
  EXPECT_EQ(expected, Written(configuration));
}

TEST(NSSConfigurationTest, EmptyQueueIsWrittenAsTokenAndColon) {
  NSSConfiguration configuration = Read("passwd: files\nhosts: files dns\n");
  EXPECT_TRUE(configuration[NSSDatabase::Shadow].empty());
  EXPECT_EQ("passwd: files\nshadow:\nhosts: files dns\n",
            Written(configuration));
}

TEST(NSSConfigurationTest, WritesServicesWithCriteria) {
  NSSConfiguration configuration;
  configuration[NSSDatabase::Hosts].push_back(Service("files"));
  configuration[NSSDatabase::Hosts].push_back(
      Service("mdns4_minimal", {"NOTFOUND=return"}));
  configuration[NSSDatabase::Hosts].push_back(Service("dns"));
  EXPECT_EQ("hosts: files mdns4_minimal [NOTFOUND=return] dns\n",
            Written(configuration));
}

TEST(NSSConfigurationTest, UnsetDatabaseCannotBeWritten) {
  NSSConfiguration configuration;
  configuration[NSSDatabase()];
  EXPECT_EQ("Invalid Database: ", MessageOf<InvalidDatabaseException>(
                                      [&] { Written(configuration); }));
}

TEST(NSSConfigurationTest, CopiesAreDeep) {
  NSSConfiguration original = Read("hosts: files\n");
  NSSConfiguration copy(original);
  copy[NSSDatabase::Hosts].push_back(Service("dns"));
  EXPECT_EQ("hosts: files\n", Written(original));
  NSSConfiguration assigned;
  assigned = copy;
  EXPECT_EQ("hosts: files dns\n", Written(assigned));
}

// --- NSSConfiguration: reading --------------------------------------------

TEST(NSSReaderTest, ServicesInOrder) {
  NSSConfiguration configuration = Read("hosts: files dns\n");
  const std::deque<NSSService> expected = {Service("files"), Service("dns")};
  EXPECT_EQ(expected, configuration[NSSDatabase::Hosts]);
}

TEST(NSSReaderTest, CriteriaEndTheLine) {
  NSSConfiguration configuration =
      Read("passwd: files [NOTFOUND=return] ldap\n");
  const std::deque<NSSService> expected = {
      Service("files", {"NOTFOUND=return"})};
  EXPECT_EQ(expected, configuration[NSSDatabase::Passwd]);
  EXPECT_EQ("passwd: files [NOTFOUND=return]\n", Written(configuration));
}

TEST(NSSReaderTest, BracketAfterTwoSpacesIsNotRecognised) {
  NSSConfiguration configuration = Read("group: files  [x=y]\n");
  const std::deque<NSSService> expected = {Service("files")};
  EXPECT_EQ(expected, configuration[NSSDatabase::Group]);
}

TEST(NSSReaderTest, OneTrailingSpaceThrows) {
  EXPECT_THROW(Read("hosts: files dns \n"), std::out_of_range);
  EXPECT_THROW(Read("hosts: files dns\t"), std::out_of_range);
  EXPECT_THROW(Read("hosts: files \n"), std::out_of_range);
}

TEST(NSSReaderTest, CarriageReturnAtTheEndThrows) {
  EXPECT_THROW(Read("hosts: files dns\r\n"), std::out_of_range);
}

TEST(NSSReaderTest, TwoTrailingSpacesDoNot) {
  NSSConfiguration configuration = Read("hosts: files dns  \n");
  EXPECT_EQ("hosts: files dns\n", Written(configuration));
  EXPECT_EQ("hosts: files dns\n", Written(Read("hosts: files dns \r\n")));
}

TEST(NSSReaderTest, TrailingWhiteSpaceAfterTheDatabaseWordAloneIsHarmless) {
  EXPECT_EQ("", Written(Read("passwd: \nshadow:\r\n")));
}

TEST(NSSReaderTest, ThrowKeepsWhatWasReadBefore) {
  NSSConfiguration configuration;
  std::istringstream in("passwd: files\nhosts: files \ngroup: files\n");
  EXPECT_THROW(in >> configuration, std::out_of_range);
  EXPECT_EQ("passwd: files\n", Written(configuration));
}

TEST(NSSReaderTest, SameDatabaseOnTwoLinesGetsBoth) {
  NSSConfiguration configuration =
      Read("hosts: files\npasswd: compat\nhosts: dns mdns\n");
  EXPECT_EQ("passwd: compat\nhosts: files dns mdns\n", Written(configuration));
}

TEST(NSSReaderTest, ReadingAppendsToTheModel) {
  NSSConfiguration configuration;
  configuration[NSSDatabase::Hosts].push_back(Service("myhostname"));
  std::istringstream in("hosts: files\n");
  in >> configuration;
  EXPECT_EQ("hosts: myhostname files\n", Written(configuration));
}

TEST(NSSReaderTest, OperatorBracketAddsAnEmptyLine) {
  NSSConfiguration configuration = Read("passwd: files\ngroup: files\n");
  configuration[NSSDatabase(std::string("shadow"))];
  EXPECT_EQ("passwd: files\ngroup: files\nshadow:\n", Written(configuration));
}

TEST(NSSReaderTest, DatabaseWithoutServicesIsNotCreated) {
  EXPECT_EQ("", Written(Read("passwd:\nhosts:  \n")));
}

TEST(NSSReaderTest, CommentIsRecognisedOnlyAtTheVeryFirstCharacter) {
  // Indented: not a comment, but "#" names no database, so dropped all
  // the same; "#passwd:" (first word "#passwd:") likewise.
  EXPECT_EQ("", Written(Read("# passwd: files\n  # passwd: files\n"
                             "\t#hosts: dns\n#passwd: files\n")));
  // A number sign later in the line is an ordinary service word.
  EXPECT_EQ("hosts: files # dns\n", Written(Read("hosts: files # dns\n")));
}

TEST(NSSReaderTest, LastCharacterOfTheFirstWordIsDropped) {
  EXPECT_EQ("passwd: files\n", Written(Read("passwdX files\n")));
  EXPECT_EQ("group: files\n", Written(Read("group; files\n")));
  // "passwd" then a separate colon: "passw" names nothing.
  EXPECT_EQ("", Written(Read("passwd : files\n")));
  // No white space after the colon: the word is "passwd:files".
  EXPECT_EQ("", Written(Read("passwd:files\n")));
  EXPECT_EQ("", Written(Read("hosts:: files\n")));
  EXPECT_EQ("", Written(Read("passwd\n")));
}

TEST(NSSReaderTest, LeadingWhiteSpaceIsRemoved) {
  EXPECT_EQ("hosts: files dns\n", Written(Read(" \t\r hosts: files dns\n")));
  // Vertical tab and form feed are not in the trimmed set, but the word
  // extraction skips them.
  EXPECT_EQ("hosts: files\n", Written(Read("\v\fhosts: files\n")));
}

TEST(NSSReaderTest, BlankAndWhiteSpaceLinesAreSkipped) {
  EXPECT_EQ("hosts: files\n", Written(Read("\n   \n\t\r\n\r\nhosts: files\n\n")));
}

TEST(NSSReaderTest, UnknownDatabasesAreSkippedSilently) {
  EXPECT_EQ("passwd: files\n",
            Written(Read("gshadow: files\npasswd: files\nsudoers: files\n")));
}

TEST(NSSReaderTest, LineWithoutFinalLineFeed) {
  EXPECT_EQ("hosts: files dns\n", Written(Read("hosts: files dns")));
}

TEST(NSSReaderTest, CriteriaWordsAreSplitOnWhiteSpace) {
  NSSConfiguration configuration =
      Read("hosts: dns [NOTFOUND=return   UNAVAIL=continue\tTRYAGAIN=continue]\n");
  const std::deque<NSSService> expected = {Service(
      "dns", {"NOTFOUND=return", "UNAVAIL=continue", "TRYAGAIN=continue"})};
  EXPECT_EQ(expected, configuration[NSSDatabase::Hosts]);
  EXPECT_EQ("hosts: dns [NOTFOUND=return UNAVAIL=continue TRYAGAIN=continue]\n",
            Written(configuration));
}

TEST(NSSReaderTest, EmptyBracketsGiveNoCriteria) {
  EXPECT_EQ("hosts: dns\n", Written(Read("hosts: dns []\n")));
}

TEST(NSSReaderTest, UnclosedBracketRunsToTheEndAndTheWordIsReadAgain) {
  // The criteria run to the end of the line; with no "]" the stream stays
  // where it was, so the bracket word is read again as a service.
  NSSConfiguration configuration =
      Read("passwd: files [NOTFOUND=return UNAVAIL=continue\n");
  const std::deque<NSSService> expected = {
      Service("files", {"NOTFOUND=return", "UNAVAIL=continue"}),
      Service("[NOTFOUND=return"), Service("UNAVAIL=continue")};
  EXPECT_EQ(expected, configuration[NSSDatabase::Passwd]);
}

TEST(NSSReaderTest, LaterClosingBracketEndsTheLine) {
  // After "files" the first "]" is far along: p + 1 + c is past the end.
  EXPECT_EQ("group: files\n", Written(Read("group: files dns]\n")));
  EXPECT_EQ("group: files\n", Written(Read("group: files dns nis [x]\n")));
}

TEST(NSSReaderTest, MoveWithinTheLineResumesThere) {
  const std::string line = "hosts: a [b] ccccccccccccccccc ddd eee";
  // After "a": p = 8, the "]" is at 11, so reading resumes at 8 + 1 + 11.
  ASSERT_EQ('c', line[20]);
  NSSConfiguration configuration = Read(line + "\n");
  const std::deque<NSSService> expected = {
      Service("a", {"b"}), Service(line.substr(20, 10)), Service("ddd"),
      Service("eee")};
  EXPECT_EQ(expected, configuration[NSSDatabase::Hosts]);
  // This model is no fixed point: written out, the criteria end the line.
  EXPECT_EQ("hosts: a [b] cccccccccc ddd eee\n", Written(configuration));
  EXPECT_EQ("hosts: a [b] ccc ddd eee\n",
            Written(Read(Written(configuration))));
}

TEST(NSSReaderTest, FailedStreamIsLeftAlone) {
  NSSConfiguration configuration;
  std::istringstream in("hosts: files\n");
  in.setstate(std::ios::failbit);
  in >> configuration;
  EXPECT_EQ("", Written(configuration));
}

TEST(NSSReaderTest, StreamIsLeftAtItsEnd) {
  NSSConfiguration configuration;
  std::istringstream in("passwd: files\ngshadow: files\n# end\n");
  in >> configuration;
  EXPECT_TRUE(in.eof());
  EXPECT_EQ("passwd: files\n", Written(configuration));
}

TEST(NSSReaderTest, WrittenFileReadsBackTheSame) {
  const std::string text =
      "passwd: files systemd\n"
      "group: files [SUCCESS=merge]\n"
      "shadow: files\n"
      "hosts: files dns myhostname\n"
      "netgroup: nis\n";
  NSSConfiguration configuration = Read(text);
  EXPECT_EQ(text, Written(configuration));
  EXPECT_EQ(text, Written(Read(Written(configuration))));
}
