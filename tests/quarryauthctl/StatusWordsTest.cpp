// The words the tool gives to status codes, and the troubleshooting table
// that must list every one of them.
#include "quarryauthctl/StatusWords.h"

#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <set>
#include <sstream>

namespace quarryauthctl_test {
namespace {

using quarryauthctl::DescribeStatus;
using quarryauthctl::KnownStatusCodes;

TEST(StatusWordsTest, DescribesACodeWithoutAClassOfItsOwn) {
  EXPECT_EQ(DescribeStatus(1909),
            "status 1909 (ERROR_ACCOUNT_LOCKED_OUT): the account is locked out "
            "after too many failed logons; have a domain administrator unlock "
            "it, then try again with the right password");
  EXPECT_EQ(DescribeStatus(2692),
            "status 2692 (NERR_SetupNotJoined): this host is not joined to a "
            "domain");
}

TEST(StatusWordsTest, HasNoWordsForUnknownCodesOrSuccess) {
  EXPECT_EQ(DescribeStatus(0), "");
  EXPECT_EQ(DescribeStatus(3), "");
  EXPECT_EQ(DescribeStatus(0xffffffffull), "");
}

TEST(StatusWordsTest, KeepsTheTableInOrderWithoutDuplicates) {
  const auto& words = KnownStatusCodes();
  for (std::size_t i = 1; i < words.size(); ++i) {
    EXPECT_LT(words[i - 1].code, words[i].code) << words[i].code;
  }
  for (const auto& entry : words) {
    EXPECT_NE(DescribeStatus(entry.code), "") << entry.code;
  }
}

// Every code that the library maps to a class of its own, and those that
// the plug-ins return without one, has words.
TEST(StatusWordsTest, CoversEveryCodeThePluginsAndTheLibraryKnow) {
  for (uint64_t code :
       {2u, 5u, 8u, 29u, 86u, 87u, 120u, 267u, 609u, 1002u, 1060u, 1061u, 1062u,
        1064u, 1067u, 1201u, 1209u, 1210u, 1212u, 1213u, 1214u, 1215u, 1216u,
        1222u, 1225u, 1229u, 1231u, 1311u, 1315u, 1317u, 1324u, 1325u, 1326u,
        1330u, 1331u, 1355u, 1359u, 1398u, 1575u, 1610u, 1703u, 1786u, 1787u,
        1791u, 1810u, 1909u, 2138u, 2691u, 2692u, 2695u, 10060u, 0x80090325u,
        0xffff0000u, 0xffff0001u}) {
    EXPECT_NE(DescribeStatus(code), "") << code;
  }
}

TEST(StatusWordsTest, TheTroubleshootingTableListsEveryCode) {
  std::ifstream file(QUARRYAUTH_SOURCE_DIR "/docs/troubleshooting.md");
  ASSERT_TRUE(file) << "docs/troubleshooting.md is missing";
  std::stringstream text;
  text << file.rdbuf();
  std::set<uint64_t> listed;
  const std::regex row(R"(^\| *([0-9]+) *\|)");
  std::string line;
  while (std::getline(text, line)) {
    std::smatch match;
    if (std::regex_search(line, match, row)) {
      listed.insert(std::stoull(match[1].str()));
    }
  }
  for (const auto& entry : KnownStatusCodes()) {
    EXPECT_EQ(listed.count(entry.code), 1u)
        << entry.code << " (" << entry.name << ") has no row";
  }
}

}  // namespace
}  // namespace quarryauthctl_test
