// After a join, the directory's users log in on the host: SSSD serves the
// joined domain, and the plug-in's PAM and NSS modules are put into the PAM
// services and the name-service switch file by quarryauthctl: rule by rule,
// and all at once with "login enable" on a Debian host's own files.
#include <sys/stat.h>

#include <chrono>
#include <memory>
#include <string>
#include <thread>

#include <gtest/gtest.h>
#include <quarryauth/authentication.h>

#include "directory/DirectoryHost.h"
#include "support/Files.h"
#include "support/StockDebianHost.h"

namespace {

namespace qa = quarry::authentication;
using quarryauth_directory_test::CommandResult;
using quarryauth_directory_test::DomainController;
using quarryauth_directory_test::Quote;
using quarryauth_directory_test::RunCommand;
using quarry_test::Shell;
using quarry_test::WriteFile;

const char kSssdSnippet[] = "/etc/sssd/conf.d/quarryadcli-ad.test.conf";
const char kKerberosDropIn[] = "/etc/krb5.conf.d/quarryadcli-AD.TEST.conf";

CommandResult Tool(const std::string& arguments) {
  return RunCommand(Quote(QUARRYAUTHCTL_PATH) + " " + arguments);
}

std::string Words(const std::list<std::string>& words) {
  std::string text;
  for (const auto& word : words) text += " " + Quote(word);
  return text;
}

// SSSD needs a moment after its start before it answers for the domain.
CommandResult LookUpUntilAnswered(const std::string& user) {
  CommandResult result;
  const auto deadline =
      std::chrono::steady_clock::now() + std::chrono::seconds(60);
  do {
    result = RunCommand("getent passwd " + Quote(user));
    if (result.exitStatus == 0) break;
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
  } while (std::chrono::steady_clock::now() < deadline);
  return result;
}

CommandResult Authenticate(const std::string& user,
                           const std::string& password,
                           const std::string& service = "quarry-directory") {
  return RunCommand("printf '%s\\n' " + Quote(password) + " | pamtester " +
                    Quote(service) + " " + Quote(user) + " authenticate");
}

// pamtester's verdicts, as it prints them.
const char kAuthenticated[] = "pamtester: successfully authenticated";
const char kRefused[] = "pamtester: Authentication failure";

bool Says(const CommandResult& result, const char* verdict) {
  return result.output.find(verdict) != std::string::npos;
}

TEST(DirectoryLogin, DirectoryUserResolvesAndAuthenticates) {
  // SSSD keeps its pid file in /run; this sandbox gets a /run of its own.
  Shell("mount -t tmpfs quarry-run /run");
  Shell("mkdir -p /etc/quarry/quarryauth");
  // A host whose SSSD and Kerberos know nothing of the domain yet.
  Shell("rm -rf /etc/sssd/sssd.conf /etc/sssd/conf.d /etc/krb5.conf.d");
  WriteFile("/etc/krb5.conf", "# the host's own settings\n[libdefaults]\n  rdns = false\n");
  const std::string kerberosBefore = quarry_test::ReadFile("/etc/krb5.conf");
  DomainController controller;
  ASSERT_FALSE(::testing::Test::HasFailure());
  quarryauth_directory_test::PrepareHost();
  qa::ActiveDirectoryStore store(60);
  store.MakeActive();
  Credentials administrator{quarryauth_directory_test::kAdministrator,
                            quarryauth_directory_test::kAdministratorPassword};
  store.JoinDomain("ad.test", administrator, false);

  // The join gave SSSD a settings file of its own, readable by root only,
  // and Kerberos the realm through a drop-in that krb5.conf now includes.
  struct stat snippet;
  ASSERT_EQ(::stat(kSssdSnippet, &snippet), 0);
  EXPECT_EQ(snippet.st_mode & 07777, 0600u);
  const std::string settings = quarry_test::ReadFile(kSssdSnippet);
  EXPECT_NE(settings.find("[domain/ad.test]\nenabled = true\nid_provider = ad\n"),
            std::string::npos)
      << settings;
  EXPECT_NE(quarry_test::ReadFile(kKerberosDropIn).find(" .ad.test = AD.TEST\n"),
            std::string::npos);
  EXPECT_EQ(quarry_test::ReadFile("/etc/krb5.conf"),
            "# quarryadcli: the joined domain's Kerberos settings\n"
            "includedir /etc/krb5.conf.d/\n" +
                kerberosBefore);
  // No service manager runs in the sandbox: the test starts SSSD.
  Shell("sssd -i --logger=stderr < /dev/null > /var/lib/quarry-test-sssd.log 2>&1 &");

  // The plug-in names the modules; the library's models place them.
  const qa::ActiveDirectoryProvider provider("quarryadcli");
  WriteFile("/etc/pam.d/quarry-directory",
            "auth\tsufficient\tpam_unix.so\n"
            "account\trequired\tpam_permit.so\n");
  const CommandResult pam =
      Tool("pam add quarry-directory auth required " +
           Quote(provider.PAMModule()) + Words(provider.PAMModuleParameters()));
  ASSERT_EQ(pam.exitStatus, 0) << pam.output;
  // After the last auth rule; the other lines as they were.
  EXPECT_EQ(quarry_test::ReadFile("/etc/pam.d/quarry-directory"),
            "auth\tsufficient\tpam_unix.so\n"
            "auth\trequired\tpam_sss.so\tuse_first_pass\n"
            "account\trequired\tpam_permit.so\n");
  for (const char* database : {"passwd", "group"}) {
    const CommandResult nss = Tool(std::string("nss set ") + database +
                                   " files " + Quote(provider.NSSModule()));
    ASSERT_EQ(nss.exitStatus, 0) << nss.output;
  }

  const CommandResult user = LookUpUntilAnswered("administrator@ad.test");
  EXPECT_EQ(user.exitStatus, 0)
      << user.output << quarry_test::ReadFile("/var/lib/quarry-test-sssd.log");
  EXPECT_EQ(user.output.rfind("administrator@ad.test:*:", 0), 0u)
      << user.output;

  const CommandResult right = Authenticate(
      "administrator@ad.test",
      quarryauth_directory_test::kAdministratorPassword);
  EXPECT_EQ(right.exitStatus, 0) << right.output;
  EXPECT_NE(right.output.find("pamtester: successfully authenticated"),
            std::string::npos)
      << right.output;
  const CommandResult wrong = Authenticate("administrator@ad.test", "not-it");
  EXPECT_EQ(wrong.exitStatus, 1) << wrong.output;
  EXPECT_NE(wrong.output.find("pamtester: Authentication failure"),
            std::string::npos)
      << wrong.output;

  // Leaving takes away exactly what the join added.
  store.PartDomain(administrator);
  EXPECT_NE(::stat(kSssdSnippet, &snippet), 0);
  EXPECT_NE(::stat(kKerberosDropIn, &snippet), 0);
  EXPECT_EQ(quarry_test::ReadFile("/etc/krb5.conf"), kerberosBefore);
}

// The whole road on a Debian host's own PAM and name-service files: join,
// "login enable", directory and local users log in through login and sshd;
// "login disable" and leave, and every file is as it was.
TEST(DirectoryLogin, LoginEnableOnAStockHostAndDisableAndLeaveUndoIt) {
  quarry_test::RequireSystemSandbox();
  Shell("mount -t tmpfs quarry-run /run");
  Shell("mkdir -p /etc/quarry/quarryauth");
  Shell("rm -rf /etc/sssd/sssd.conf /etc/sssd/conf.d /etc/krb5.conf.d");
  DomainController controller;
  ASSERT_FALSE(::testing::Test::HasFailure());
  quarryauth_directory_test::PrepareHost();
  quarry_test::MakeStockDebianLoginFiles(QUARRYAUTH_SOURCE_DIR);
  Shell("useradd -M alice && echo 'alice:Alice-Secret-1' | chpasswd");
  const auto filesBefore = quarry_test::LoginFiles();
  // A host may have no Kerberos settings of its own at all.
  const bool hadKerberosSettings = quarry_test::Exists("/etc/krb5.conf");
  const std::string kerberosBefore =
      hadKerberosSettings ? quarry_test::ReadFile("/etc/krb5.conf") : "";
  for (const char* service : {"login", "sshd"}) {
    EXPECT_TRUE(Says(Authenticate("alice", "Alice-Secret-1", service), kAuthenticated));
  }
  EXPECT_NE(RunCommand("getent passwd administrator@ad.test").exitStatus, 0);

  const std::string password =
      Quote(quarryauth_directory_test::kAdministratorPassword);
  ASSERT_EQ(Tool("activate 'Active Directory'").exitStatus, 0);
  const CommandResult joined = RunCommand(
      "printf '%s\\n' " + password + " | " + Quote(QUARRYAUTHCTL_PATH) +
      " join ad.test --user Administrator --password-stdin");
  ASSERT_EQ(joined.exitStatus, 0) << joined.output;
  const CommandResult enabled = Tool("login enable");
  ASSERT_EQ(enabled.exitStatus, 0) << enabled.output;
  EXPECT_EQ(enabled.output,
            "Skipped PAM service 'sudo': there is no '/etc/pam.d/sudo'.\n"
            "Skipped PAM service 'sudo-i': there is no '/etc/pam.d/sudo-i'.\n"
            "PAM services 'login', 'sshd', 'su', 'su-l': 'pam_sss.so' added "
            "to the common-* files they include, through pam-auth-update's "
            "profile 'quarryauthctl'.\n"
            "Name-service switch: 'sss' added to passwd group netgroup "
            "services.\n"
            "Directory logins enabled for ad.test.\n");
  // No service manager runs in the sandbox: the test starts SSSD, which
  // reads the settings that the join wrote.
  Shell("sssd -i --logger=stderr < /dev/null > /var/lib/quarry-test-sssd.log 2>&1 &");

  const CommandResult user = LookUpUntilAnswered("administrator@ad.test");
  ASSERT_EQ(user.exitStatus, 0)
      << user.output << quarry_test::ReadFile("/var/lib/quarry-test-sssd.log");
  EXPECT_EQ(user.output.rfind("administrator@ad.test:*:", 0), 0u) << user.output;
  const CommandResult groups = RunCommand("id administrator@ad.test");
  EXPECT_EQ(groups.exitStatus, 0) << groups.output;
  EXPECT_NE(groups.output.find("domain admins@ad.test"), std::string::npos)
      << groups.output;
  for (const char* service : {"login", "sshd"}) {
    const CommandResult right = Authenticate(
        "administrator@ad.test",
        quarryauth_directory_test::kAdministratorPassword, service);
    EXPECT_TRUE(Says(right, kAuthenticated)) << service << ": " << right.output;
    const CommandResult wrong =
        Authenticate("administrator@ad.test", "not-it", service);
    EXPECT_TRUE(Says(wrong, kRefused)) << service << ": " << wrong.output;
    EXPECT_TRUE(Says(Authenticate("alice", "Alice-Secret-1", service),
                     kAuthenticated))
        << service;
    EXPECT_TRUE(Says(Authenticate("alice", "wrong", service), kRefused))
        << service;
  }

  const CommandResult disabled = Tool("login disable");
  ASSERT_EQ(disabled.exitStatus, 0) << disabled.output;
  const CommandResult left = RunCommand(
      "printf '%s\\n' " + password + " | " + Quote(QUARRYAUTHCTL_PATH) +
      " leave --user Administrator --password-stdin");
  ASSERT_EQ(left.exitStatus, 0) << left.output;
  EXPECT_EQ(RunCommand("getent passwd administrator@ad.test").exitStatus, 2);
  EXPECT_NE(RunCommand("id administrator@ad.test").exitStatus, 0);
  EXPECT_TRUE(Says(Authenticate("alice", "Alice-Secret-1", "login"), kAuthenticated));
  EXPECT_EQ(quarry_test::LoginFiles(), filesBefore);
  ASSERT_EQ(quarry_test::Exists("/etc/krb5.conf"), hadKerberosSettings);
  if (hadKerberosSettings) {
    EXPECT_EQ(quarry_test::ReadFile("/etc/krb5.conf"), kerberosBefore);
  }
  EXPECT_FALSE(quarry_test::Exists(kSssdSnippet));
  EXPECT_FALSE(quarry_test::Exists(kKerberosDropIn));
}

}  // namespace
