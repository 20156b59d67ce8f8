// "pam add" and "pam remove" on the PAM service files of a Debian 12 host
// (tests/quarryauthctl/debian-pam.d: as the packages install them, and the common-*
// files as pam-auth-update writes them with Unix authentication only). A
// rule that decides nothing (pam_warn.so) is inserted before and after
// every auth and account rule of every file; PAM itself, through
// pamtester, must then give a local user the same outcome as before, and
// removing the rule again must give back the file byte for byte.
#include <gtest/gtest.h>

#include <cstdlib>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "quarryauthctl/ToolHarness.h"

namespace quarryauthctl_test {
namespace {

const std::string kStockFiles = QUARRYAUTH_SOURCE_DIR "/tests/quarryauthctl/debian-pam.d";

// The modules of the rules of facility in text, in order, each once.
std::vector<std::string> ModulesOf(const std::string& text,
                                   const std::string& facility) {
  std::vector<std::string> modules;
  std::set<std::string> seen;
  std::istringstream lines(text);
  std::string line;
  while (std::getline(lines, line)) {
    std::istringstream words(line);
    std::string type, control, module;
    if (!(words >> type) || type[0] == '#' || type[0] == '@') continue;
    if (type[0] == '-') type.erase(0, 1);
    if (type != facility || !(words >> control)) continue;
    while (control.front() == '[' && control.back() != ']' && words >> module) {
      control += " " + module;
    }
    if ((words >> module) && seen.insert(module).second) modules.push_back(module);
  }
  return modules;
}

TEST(PamRealFilesTest, InsertionsKeepALocalUsersOutcomeAndRemovalsTheFile) {
  InstallDemo();
  Shell("cp " + kStockFiles + "/* /etc/pam.d/");
  AddLocalUser();
  int edits = 0, refusals = 0;
  for (const std::string& service : ListDirectory(kStockFiles)) {
    const std::string path = "/etc/pam.d/" + service;
    const std::string original = ReadFile(path);
    const Outcome before = OutcomeOf(service);
    for (const char* facility : {"auth", "account"}) {
      for (const std::string& module : ModulesOf(original, facility)) {
        for (const char* where : {"--before", "--after"}) {
          const std::string edit = service + " " + facility + " " + where + " " + module;
          WriteFile(path, original);
          const ToolResult added = RunTool({"pam", "add", service, facility, "optional",
                                            "pam_warn.so", where, module});
          if (added.exitStatus == 3) {
            ++refusals;
            EXPECT_EQ(ReadFile(path), original) << edit;
            continue;
          }
          ASSERT_EQ(added.exitStatus, 0) << edit << ": " << added.err;
          ++edits;
          EXPECT_TRUE(OutcomeOf(service) == before) << edit;
          const ToolResult removed =
              RunTool({"pam", "remove", service, facility, "pam_warn.so"});
          ASSERT_EQ(removed.exitStatus, 0) << edit << ": " << removed.err;
          EXPECT_EQ(ReadFile(path), original) << edit;
        }
      }
    }
    WriteFile(path, original);
  }
  // Before and after each of the 18 auth and account rules of these files:
  // every edit was made, none refused.
  EXPECT_EQ(edits, 36);
  EXPECT_EQ(refusals, 0);
}

}  // namespace
}  // namespace quarryauthctl_test
