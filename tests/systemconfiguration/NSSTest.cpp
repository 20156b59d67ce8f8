// The name-service switch configuration model.
#include <gtest/gtest.h>

#include <quarryauth/authentication.h>
#include <quarryauth/systemconfiguration.h>

#include <cstdint>
#include <deque>
#include <list>
#include <sstream>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace sc = SystemConfiguration;
using sc::InvalidDatabaseException;
using sc::NSSConfiguration;
using sc::NSSDatabase;
using sc::NSSService;

namespace {

using Words = std::list<std::string>;

const std::vector<std::pair<std::string, NSSDatabase::Database>> kDatabases = {
    {"passwd", NSSDatabase::Passwd},       {"group", NSSDatabase::Group},
    {"shadow", NSSDatabase::Shadow},       {"hosts", NSSDatabase::Hosts},
    {"netmasks", NSSDatabase::Netmasks},   {"networks", NSSDatabase::Networks},
    {"protocols", NSSDatabase::Protocols}, {"services", NSSDatabase::Services},
    {"ethers", NSSDatabase::Ethers},       {"rpc", NSSDatabase::Rpc},
    {"netgroup", NSSDatabase::Netgroup},   {"bootparams", NSSDatabase::Bootparams},
    {"publickey", NSSDatabase::Publickey}, {"automount", NSSDatabase::Automount},
    {"aliases", NSSDatabase::Aliases},
};

template <class T>
std::string Written(const T& value) {
  std::ostringstream out;
  out << value;
  return out.str();
}

NSSConfiguration Read(const std::string& text) {
  NSSConfiguration configuration;
  std::istringstream in(text);
  in >> configuration;
  return configuration;
}

std::string Text(const NSSDatabase& database) {
  return static_cast<std::string>(database);
}

NSSService Service(const std::string& module, const Words& parameters = {}) {
  NSSService service(module);
  service.parameters() = parameters;
  return service;
}

template <class E, class F>
std::string MessageOf(F call) {
  try {
    call();
  } catch (const E& error) {
    return error.what();
  }
  ADD_FAILURE() << "nothing thrown";
  return "<nothing thrown>";
}

}  // namespace

// --- NSSDatabase ----------------------------------------------------------

TEST(NSSDatabaseTest, EnumeratorNumbers) {
  static_assert(std::is_same_v<std::underlying_type_t<NSSDatabase::Database>,
                               std::uint32_t>);
  EXPECT_EQ(0u, NSSDatabase::Unset);
  EXPECT_EQ(1u, NSSDatabase::Passwd);
  EXPECT_EQ(2u, NSSDatabase::Group);
  EXPECT_EQ(3u, NSSDatabase::Shadow);
  EXPECT_EQ(4u, NSSDatabase::Hosts);
  EXPECT_EQ(5u, NSSDatabase::Netmasks);
  EXPECT_EQ(6u, NSSDatabase::Networks);
  EXPECT_EQ(7u, NSSDatabase::Protocols);
  EXPECT_EQ(8u, NSSDatabase::Services);
  EXPECT_EQ(9u, NSSDatabase::Ethers);
  EXPECT_EQ(10u, NSSDatabase::Rpc);
  EXPECT_EQ(11u, NSSDatabase::Netgroup);
  EXPECT_EQ(12u, NSSDatabase::Bootparams);
  EXPECT_EQ(13u, NSSDatabase::Publickey);
  EXPECT_EQ(14u, NSSDatabase::Automount);
  EXPECT_EQ(15u, NSSDatabase::Aliases);
}

TEST(NSSDatabaseTest, ExceptionStandsOutsideTheLibraryFamily) {
  static_assert(std::is_base_of_v<std::exception, InvalidDatabaseException>);
  static_assert(!std::is_base_of_v<quarry::authentication::Exception,
                                   InvalidDatabaseException>);
  EXPECT_STREQ("text", InvalidDatabaseException("text").what());
}

TEST(NSSDatabaseTest, EveryTokenParsesAndPrints) {
  for (const auto& [token, value] : kDatabases) {
    SCOPED_TRACE(token);
    const NSSDatabase parsed(token);
    EXPECT_EQ(value, static_cast<NSSDatabase::Database>(parsed));
    EXPECT_EQ(token, Text(parsed));
    EXPECT_EQ(token, Text(NSSDatabase(value)));
    EXPECT_TRUE(parsed == token);
    EXPECT_TRUE(parsed == NSSDatabase(value));
    EXPECT_TRUE(parsed == value);

    NSSDatabase assigned;
    assigned = token;
    EXPECT_EQ(value, static_cast<NSSDatabase::Database>(assigned));
    NSSDatabase byValue;
    byValue = value;
    EXPECT_EQ(token, Text(byValue));
    const NSSDatabase copy(byValue);
    EXPECT_EQ(token, Text(copy));

    // Read from a line and written back.
    NSSConfiguration configuration = Read(token + ": files\n");
    EXPECT_EQ(token + ": files\n", Written(configuration));
  }
}

TEST(NSSDatabaseTest, UnknownWordsThrow) {
  for (const std::string word :
       {"PASSWD", "Passwd", "passwd:", "gshadow", "", "host", "hostsX"}) {
    SCOPED_TRACE(word);
    EXPECT_EQ("Invalid Database: " + word,
              MessageOf<InvalidDatabaseException>(
                  [&] { NSSDatabase database(word); }));
  }
}

TEST(NSSDatabaseTest, DefaultHasNoToken) {
  const NSSDatabase database;
  EXPECT_EQ(NSSDatabase::Unset, static_cast<NSSDatabase::Database>(database));
  EXPECT_EQ("Invalid Database: ",
            MessageOf<InvalidDatabaseException>([&] { Text(database); }));
}

TEST(NSSDatabaseTest, ValueWithoutRowDropsLeadingCharactersOfTheMessage) {
  const std::string literal = "Invalid Database: ";
  for (std::uint32_t value : {0u, 16u, 17u}) {
    SCOPED_TRACE(value);
    EXPECT_EQ(literal.substr(value), MessageOf<InvalidDatabaseException>([&] {
                Text(NSSDatabase(static_cast<NSSDatabase::Database>(value)));
              }));
  }
  EXPECT_EQ(": ", MessageOf<InvalidDatabaseException>([] {
              Text(NSSDatabase(static_cast<NSSDatabase::Database>(16)));
            }));
}

TEST(NSSDatabaseTest, ComparisonWithAStringParsesIt) {
  const NSSDatabase database(NSSDatabase::Hosts);
  EXPECT_TRUE(database == std::string("hosts"));
  EXPECT_FALSE(database == std::string("passwd"));
  EXPECT_EQ("Invalid Database: bogus", MessageOf<InvalidDatabaseException>([&] {
              (void)(database == std::string("bogus"));
            }));
  EXPECT_FALSE(database == NSSDatabase());
}

TEST(NSSDatabaseTest, FailedParseLeavesTheDatabaseAlone) {
  NSSDatabase database(NSSDatabase::Rpc);
  EXPECT_THROW(database = std::string("RPC"), InvalidDatabaseException);
  EXPECT_EQ(NSSDatabase::Rpc, static_cast<NSSDatabase::Database>(database));
}

// --- NSSService -----------------------------------------------------------

TEST(NSSServiceTest, ServiceWithoutCriteriaIsItsModule) {
  NSSService service("files");
  EXPECT_EQ("files", service.module());
  EXPECT_TRUE(service.parameters().empty());
  EXPECT_EQ("files", Written(service));
}

TEST(NSSServiceTest, CriteriaAreWrittenInBrackets) {
  EXPECT_EQ("dns [NOTFOUND=return]",
            Written(Service("dns", {"NOTFOUND=return"})));
  EXPECT_EQ("ldap [NOTFOUND=return UNAVAIL=continue TRYAGAIN=continue]",
            Written(Service("ldap", {"NOTFOUND=return", "UNAVAIL=continue",
                                     "TRYAGAIN=continue"})));
}

TEST(NSSServiceTest, EqualityComparesModuleAndCriteria) {
  EXPECT_TRUE(Service("files") == Service("files"));
  EXPECT_FALSE(Service("files") == Service("Files"));
  EXPECT_TRUE(Service("dns", {"a", "b"}) == Service("dns", {"a", "b"}));
  EXPECT_FALSE(Service("dns", {"a", "b"}) == Service("dns", {"b", "a"}));
  EXPECT_FALSE(Service("dns", {"a"}) == Service("dns", {"a", "b"}));
  EXPECT_FALSE(Service("dns", {"a"}) == Service("dns"));
}

TEST(NSSServiceTest, CopiesAreDeep) {
  NSSService original = Service("dns", {"a"});
  NSSService copy(original);
  copy.parameters().push_back("b");
  EXPECT_EQ((Words{"a"}), original.parameters());
  NSSService assigned("x");
  assigned = original;
  EXPECT_EQ("dns [a]", Written(assigned));
}

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
