// quarryauthctl against the real DC, as an administrator would use it.
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "directory/DirectoryHost.h"

namespace {

using quarryauth_directory_test::CommandResult;
using quarryauth_directory_test::DomainController;
using quarryauth_directory_test::Quote;
using quarryauth_directory_test::RunCommand;

CommandResult Tool(const std::string& arguments,
                   const std::string& input = std::string()) {
  std::string line = Quote(QUARRYAUTHCTL_PATH) + " " + arguments;
  if (!input.empty()) line = "printf '%s\\n' " + Quote(input) + " | " + line;
  return RunCommand(line);
}

TEST(DirectoryTool, ActivatesJoinsShowsStatusAndLeaves) {
  DomainController controller;
  ASSERT_FALSE(::testing::Test::HasFailure());
  quarryauth_directory_test::PrepareHost();

  EXPECT_EQ(Tool("activate 'Active Directory'").output,
            "The active store is now 'Active Directory'.\n");
  const CommandResult joined =
      Tool("join ad.test --user Administrator --password-stdin",
           quarryauth_directory_test::kAdministratorPassword);
  EXPECT_EQ(joined.exitStatus, 0) << joined.output;
  EXPECT_EQ(joined.output, "Joined ad.test.\n");

  const CommandResult status = Tool("status");
  EXPECT_EQ(status.exitStatus, 0) << status.output;
  EXPECT_EQ(status.output,
            "Active store:                 Active Directory\n"
            "Domain (DNS name):            ad.test\n"
            "Domain (NetBIOS name):        AD\n"
            "Organizational unit:          (none)\n"
            "Authentication proxy:         (none)\n"
            "Machine account:              CN=NODE1,CN=Computers,DC=ad,DC=test\n"
            "Preferred domain controllers: (none)\n"
            "Trusted domains:              partner.test (PARTNER)\n"
            "Trust state:                  1\n");

  const CommandResult controllerName = Tool("dc find ad.test");
  EXPECT_EQ(controllerName.output, "dc1.ad.test\n");

  const CommandResult left = Tool("leave --user Administrator --password-stdin",
                                  quarryauth_directory_test::kAdministratorPassword);
  EXPECT_EQ(left.exitStatus, 0) << left.output;
  EXPECT_TRUE(controller.Search("DC=ad,DC=test", "(cn=NODE1)").empty());
}

}  // namespace
