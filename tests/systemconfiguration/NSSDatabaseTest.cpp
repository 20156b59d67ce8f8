// The words of a name-service switch line: the database that begins it and
// the services, with their criteria, that follow.
#include <gtest/gtest.h>

#include <quarryauth/authentication.h>
#include <quarryauth/systemconfiguration.h>

#include <cstdint>
#include <string>
#include <type_traits>

#include "systemconfiguration/NSSTestSupport.h"

namespace sc = SystemConfiguration;
using nss_test::kDatabases;
using nss_test::MessageOf;
using nss_test::Read;
using nss_test::Service;
using nss_test::Words;
using nss_test::Written;
using sc::InvalidDatabaseException;
using sc::NSSConfiguration;
using sc::NSSDatabase;
using sc::NSSService;

namespace {

std::string Text(const NSSDatabase& database) {
  return static_cast<std::string>(database);
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
