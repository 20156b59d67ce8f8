// "join" and "leave", with the demonstration directory plug-in.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <chrono>

#include "quarryauthctl/ToolHarness.h"

namespace quarryauthctl_test {
namespace {

class JoinCommandsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    InstallDemo(settings);
    PrepareHostForJoin();
  }
  std::string settings;
};

ToolResult JoinWithPassword(const std::string& password) {
  return RunTool(
      {"join", "ad.test", "--user", "Administrator", "--password-stdin"},
      password + "\n");
}

TEST_F(JoinCommandsTest, JoinsWithThePasswordFromStandardInput) {
  const ToolResult joined = RunTool({"join", "ad.test/Servers/Quarry", "--user",
                                     "administrator", "--password-stdin"},
                                    std::string(kPassword) + "\n");
  EXPECT_EQ(joined.exitStatus, 0) << joined.err;
  EXPECT_EQ(joined.out, "Joined ad.test/Servers/Quarry.\n");

  const nlohmann::json status = RunTool({"status", "--json"}).Json();
  EXPECT_EQ(status["joined"], true);
  EXPECT_EQ(status["domain"]["dnsName"], "ad.test");
  EXPECT_EQ(status["organizationalUnit"], "Servers/Quarry");
  EXPECT_EQ(status["machineAccountDN"],
            "CN=NODE1,OU=Quarry,OU=Servers,DC=ad,DC=test");
  // The host name checks put the management address in the hosts file.
  EXPECT_NE(ReadFile("/etc/hosts").find("192.0.2.5\tnode1.ad.test node1"),
            std::string::npos);
}

// The first join on a fresh host creates the state folder: root's only.
TEST_F(JoinCommandsTest, CreatesTheStateFolderForRootOnly) {
  ASSERT_EQ(::access("/var/lib/quarry", F_OK), -1);
  const ToolResult joined = JoinWithPassword(kPassword);
  ASSERT_EQ(joined.exitStatus, 0) << joined.err;
  struct stat status;
  ASSERT_EQ(::stat("/var/lib/quarry", &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0700u);
}

TEST_F(JoinCommandsTest, RefusesAPasswordOnTheCommandLine) {
  for (const auto& arguments : std::vector<std::vector<std::string>>{
           {"join", "ad.test", "--user", "Administrator", "--password",
            kPassword},
           {"join", "ad.test", "--user", "Administrator",
            std::string("--password=") + kPassword},
           {"leave", "--user", "Administrator", "--password", kPassword}}) {
    const ToolResult refused = RunTool(arguments);
    EXPECT_EQ(refused.exitStatus, 2);
    EXPECT_EQ(refused.err,
              "quarryauthctl: a password is never taken from the command "
              "line, where other users and the shell history can see it; "
              "type it at the prompt or pass it on standard input with "
              "--password-stdin\n");
  }
  EXPECT_EQ(RunTool({"status"}).exitStatus, 5);
}

TEST_F(JoinCommandsTest, DoesNotPromptWithoutATerminal) {
  const ToolResult refused = RunTool(
      {"join", "ad.test", "--user", "Administrator"}, std::string(kPassword));
  EXPECT_EQ(refused.exitStatus, 2);
  EXPECT_EQ(refused.err,
            "quarryauthctl: standard input is not a terminal to prompt for "
            "the password of 'Administrator'; pass the password on standard "
            "input with --password-stdin\n");
  EXPECT_EQ(RunTool({"status"}).exitStatus, 5);
}

TEST_F(JoinCommandsTest, RequiresAUser) {
  const ToolResult refused = RunTool({"join", "ad.test", "--password-stdin"},
                                     std::string(kPassword) + "\n");
  EXPECT_EQ(refused.exitStatus, 2);
  EXPECT_NE(refused.err.find("--user is required"), std::string::npos)
      << refused.err;
}

class WrongPasswordTest : public JoinCommandsTest {
 protected:
  WrongPasswordTest() { settings = "wrong-password-status = \"86\"\n"; }
};

const char kNoneActiveWarning[] =
    "quarryauthctl: warning: the active store is 'None', so the domain's "
    "users cannot log in after this join until 'quarryauthctl activate "
    "\"Active Directory\"'\n";

TEST_F(WrongPasswordTest, FailsAtOnceWithTheLibrarysMessage) {
  const auto start = std::chrono::steady_clock::now();
  const ToolResult failed = JoinWithPassword("wrong");
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
  EXPECT_EQ(failed.exitStatus, 3);
  EXPECT_EQ(failed.err,
            std::string(kNoneActiveWarning) +
                "quarryauthctl: Exception 0x00000056: The specified network "
                "password is not correct.\n"
                "quarryauthctl: status 86 (ERROR_INVALID_PASSWORD): the "
                "password is wrong; type it again\n");
  EXPECT_EQ(failed.out, "");
  EXPECT_EQ(RunTool({"status"}).exitStatus, 5);
}

TEST_F(WrongPasswordTest, RefusesAnEmptyPasswordBeforeAnyAttempt) {
  const ToolResult failed = JoinWithPassword("");
  EXPECT_EQ(failed.exitStatus, 3);
  EXPECT_NE(failed.err.find("empty or no password was specified"),
            std::string::npos)
      << failed.err;
}

class LockoutTest : public JoinCommandsTest {
 protected:
  LockoutTest() { settings = "lockout-threshold = \"1\"\n"; }
};

// The one test that waits: the library sleeps 30 s after a failed logon
// (1326) before it tries again; the directory then reports the account
// locked out (1909). Standard error is a pipe here, not a terminal, and
// still gets a line for each attempt.
TEST_F(LockoutTest, RetriesAFailedLogonOnceThirtySecondsLater) {
  const auto start = std::chrono::steady_clock::now();
  const ToolResult failed = JoinWithPassword("wrong");
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::seconds(30));
  EXPECT_EQ(failed.exitStatus, 3);
  EXPECT_EQ(failed.err,
            std::string(kNoneActiveWarning) +
                "Joining ad.test: attempt 1 of 4 failed; the library tries "
                "again in 30 s\n"
                "Joining ad.test: attempt 2 of 4\n"
                "quarryauthctl: Exception 0x00000775: Unknown exception\n"
                "quarryauthctl: status 1909 (ERROR_ACCOUNT_LOCKED_OUT): the "
                "account is locked out after too many failed logons; have a "
                "domain administrator unlock it, then try again with the "
                "right password\n");
  // The right password still joins and resets the count.
  EXPECT_EQ(JoinWithPassword(kPassword).exitStatus, 0);
}

TEST_F(JoinCommandsTest, RefusesToJoinTwice) {
  Join();
  const ToolResult again = JoinWithPassword(kPassword);
  EXPECT_EQ(again.exitStatus, 3);
  EXPECT_NE(again.err.find("0x00000a83"), std::string::npos) << again.err;
}

TEST_F(JoinCommandsTest, LeavesAndForgetsTheDomainRecord) {
  Join("OU=Hypervisors");
  const ToolResult left = RunTool({"leave"});
  EXPECT_EQ(left.exitStatus, 0) << left.err;
  EXPECT_EQ(left.out, "Left the domain.\n");
  const ToolResult status = RunTool({"status", "--json"});
  EXPECT_EQ(status.exitStatus, 5);
  EXPECT_EQ(status.Json()["joined"], false);
  EXPECT_EQ(status.Json()["organizationalUnit"], "");
}

TEST_F(JoinCommandsTest, LeavesWithAnAccountAndKeepsTheDomainRecord) {
  Join("OU=Hypervisors");
  const ToolResult left =
      RunTool({"leave", "--user", "Administrator", "--password-stdin"},
              std::string(kPassword) + "\n");
  EXPECT_EQ(left.exitStatus, 0) << left.err;
  const ToolResult status = RunTool({"status", "--json"});
  EXPECT_EQ(status.exitStatus, 5);
  EXPECT_EQ(status.Json()["joined"], false);
  EXPECT_EQ(status.Json()["organizationalUnit"], "OU=Hypervisors");
}

TEST_F(JoinCommandsTest, SaysSoWhenLeavingAHostThatIsNotJoined) {
  const ToolResult failed = RunTool({"leave"});
  EXPECT_EQ(failed.exitStatus, 5);
  EXPECT_EQ(failed.err,
            "quarryauthctl: Exception 0x00000a84: Unknown exception\n"
            "quarryauthctl: status 2692 (NERR_SetupNotJoined): this host is "
            "not joined to a domain\n");
}

TEST_F(JoinCommandsTest, WarnsOnlyWhenActiveDirectoryIsNotTheActiveStore) {
  const ToolResult warned = JoinWithPassword(kPassword);
  EXPECT_EQ(warned.exitStatus, 0) << warned.err;
  EXPECT_EQ(warned.err, kNoneActiveWarning);
  ASSERT_EQ(RunTool({"leave"}).exitStatus, 0);
  ASSERT_EQ(RunTool({"activate", "Active Directory"}).exitStatus, 0);
  const ToolResult quiet = JoinWithPassword(kPassword);
  EXPECT_EQ(quiet.exitStatus, 0) << quiet.err;
  EXPECT_EQ(quiet.err, "");
  EXPECT_EQ(quiet.out, "Joined ad.test.\n");
}

}  // namespace
}  // namespace quarryauthctl_test
