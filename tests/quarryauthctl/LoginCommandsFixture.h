// The fixture of the tests of "login enable", "login disable" and "login
// status" with the demonstration plug-in, on a Debian host's own PAM and
// name-service files. The demonstration's modules are stand-ins (pam_deny.so
// under the name pam_quarrydemo.so, and a name-service module that knows
// nobody): what is checked is where they are wired, that local users keep
// their outcome, and that disable gives every file back byte for byte.
#ifndef QUARRYAUTH_TESTS_LOGINCOMMANDSFIXTURE_H
#define QUARRYAUTH_TESTS_LOGINCOMMANDSFIXTURE_H

#include <gtest/gtest.h>

#include <string>

#include "support/StockDebianHost.h"
#include "quarryauthctl/ToolHarness.h"

namespace quarryauthctl_test {

// The host's library architecture, its PAM module directory, and the
// record that "login enable" keeps for "login disable".
extern const std::string kArchitecture;
extern const std::string kSecurity;
extern const char kRecord[];

// Whether anything is at path ("test -e").
bool Exists(const std::string& path);

class LoginCommandsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    Shell("mkdir -p /etc/quarry/quarryauth");
    InstallDemo();
    PrepareHostForJoin();
    quarry_test::MakeStockDebianLoginFiles(QUARRYAUTH_SOURCE_DIR);
    AddLocalUser();
    ASSERT_EQ(RunTool({"activate", "Active Directory"}).exitStatus, 0);
  }

  static void InstallPamModule() {
    Shell("cp " + kSecurity + "/pam_deny.so " + kSecurity +
          "/pam_quarrydemo.so");
  }
  static void InstallModules() {
    InstallPamModule();
    Shell(std::string("cp ") + DEMO_NSS_MODULE + " /usr/lib/" + kArchitecture +
          "/ && ldconfig");
  }
  static void WriteOwnService(const std::string& authControl) {
    WriteFile("/etc/pam.d/quarry-directory",
              "# a service of its own\n"
              "auth\t" + authControl + "\tpam_unix.so nullok\n"
              "auth\trequisite\tpam_deny.so\n"
              "auth\trequired\tpam_permit.so\n"
              "account\trequired\tpam_unix.so\n"
              "session\trequired\tpam_unix.so\n");
  }
};

}  // namespace quarryauthctl_test

#endif
