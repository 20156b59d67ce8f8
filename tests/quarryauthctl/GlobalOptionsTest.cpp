// The options and refusals that belong to the whole tool: --version,
// --verbose, and a command that does not exist.
#include <gtest/gtest.h>

#include "quarryauthctl/ToolHarness.h"

namespace quarryauthctl_test {
namespace {

class GlobalOptionsTest : public ::testing::Test {
 protected:
  void SetUp() override { InstallDemo(); }
};

TEST_F(GlobalOptionsTest, PrintsItsVersion) {
  const ToolResult version = RunTool({"--version"});
  EXPECT_EQ(version.exitStatus, 0);
  EXPECT_EQ(version.out, "quarryauthctl 1.0.0\n");
  EXPECT_EQ(version.err, "");
}

TEST_F(GlobalOptionsTest, NamesAnUnknownCommand) {
  const ToolResult unknown = RunTool({"bogus"});
  EXPECT_EQ(unknown.exitStatus, 2);
  EXPECT_EQ(unknown.out, "");
  EXPECT_EQ(unknown.err,
            "quarryauthctl: unknown command 'bogus'; the commands are stores, "
            "activate, provider, status, join, join-proxy, proxy-domain, "
            "import-proxy-cert, leave, dc, smartcard, principal, username, "
            "host-cert, pam, nss, login (see 'quarryauthctl --help')\n");
}

TEST_F(GlobalOptionsTest, NamesAnUnknownCommandOfAGroup) {
  const ToolResult unknown = RunTool({"--verbose", "dc", "bogus"});
  EXPECT_EQ(unknown.exitStatus, 2);
  EXPECT_EQ(unknown.err,
            "quarryauthctl: unknown command 'dc bogus'; the dc commands are "
            "set, show, find (see 'quarryauthctl dc --help')\n");
}

TEST_F(GlobalOptionsTest, StillAsksForACommandWhenThereIsNone) {
  const ToolResult none = RunTool({});
  EXPECT_EQ(none.exitStatus, 2);
  EXPECT_NE(none.err.find("A subcommand is required"), std::string::npos)
      << none.err;
}

TEST_F(GlobalOptionsTest, VerboseCopiesTheLibrarysLogToStandardError) {
  PrepareHostForJoin();
  Join();
  WriteFile("/etc/quarry/quarrydemo.conf",
            ReadFile("/etc/quarry/quarrydemo.conf") +
                "delay-seconds = \"forever\"\n");
  const std::string timedOut =
      "quarryauthctl: GetDomainTrustState call timedout. Returning cached "
      "value.\n";
  const ToolResult quiet = RunTool({"status", "--timeout", "1"});
  EXPECT_EQ(quiet.exitStatus, 4);
  EXPECT_EQ(quiet.err.find(timedOut), std::string::npos) << quiet.err;
  const ToolResult verbose = RunTool({"--verbose", "status", "--timeout", "1"});
  EXPECT_EQ(verbose.exitStatus, 4);
  EXPECT_NE(verbose.err.find(timedOut), std::string::npos) << verbose.err;
  EXPECT_NE(verbose.err.find("quarryauthctl: GetTrustedDomains call timedout. "
                             "Returning cached value.\n"),
            std::string::npos)
      << verbose.err;
}

}  // namespace
}  // namespace quarryauthctl_test
