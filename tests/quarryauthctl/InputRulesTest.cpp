// Malformed domains, organizational units, host names and user names are
// refused with the usage status before the library sees them, and nothing
// is recorded.
#include <gtest/gtest.h>

#include "quarryauthctl/ToolHarness.h"

namespace quarryauthctl_test {
namespace {

class InputRulesTest : public ::testing::Test {
 protected:
  void SetUp() override {
    InstallDemo();
    PrepareHostForJoin();
  }
};

void ExpectRefused(const std::vector<std::string>& arguments,
                   const std::string& message,
                   const std::string& input = std::string()) {
  const ToolResult refused = RunTool(arguments, input);
  EXPECT_EQ(refused.exitStatus, 2) << arguments.front() << ": " << refused.err;
  EXPECT_EQ(refused.out, "");
  EXPECT_EQ(refused.err, "quarryauthctl: " + message + "\n");
}

void ExpectRefusedJoin(const std::string& target, const std::string& message) {
  ExpectRefused({"join", target, "--user", "Administrator", "--password-stdin"},
                message, std::string(kPassword) + "\n");
  const ToolResult status = RunTool({"status", "--json"});
  EXPECT_EQ(status.exitStatus, 5) << target;
  EXPECT_EQ(status.Json()["organizationalUnit"], "") << target;
}

TEST_F(InputRulesTest, RefusesAnEmptyOrganizationalUnitPart) {
  ExpectRefusedJoin("ad.test//",
                    "the organizational unit '/' has an empty part; write "
                    "units as 'Servers/Hypervisors', without a leading, "
                    "trailing or doubled '/'");
  ExpectRefusedJoin("ad.test/",
                    "nothing follows the '/' in 'ad.test/'; name the "
                    "organizational unit or leave the '/' out");
  ExpectRefusedJoin("ad.test/Servers//Quarry",
                    "the organizational unit 'Servers//Quarry' has an empty "
                    "part; write units as 'Servers/Hypervisors', without a "
                    "leading, trailing or doubled '/'");
}

TEST_F(InputRulesTest, RefusesAMalformedDistinguishedName) {
  ExpectRefusedJoin("ad.test/OU=Servers,DC=",
                    "the organizational unit 'OU=Servers,DC=' is not a "
                    "distinguished name: each part between commas must be "
                    "TYPE=VALUE, as in 'OU=Hypervisors,DC=ad,DC=example,DC=com'");
}

TEST_F(InputRulesTest, RefusesAUnitWithSpecialCharacters) {
  ExpectRefusedJoin("ad.test/Servers/ Quarry",
                    "the organizational unit 'Servers/ Quarry' has the part "
                    "' Quarry', which begins or ends with a blank or holds "
                    "one of , + \" \\ < > ; = #");
}

TEST_F(InputRulesTest, RefusesAMalformedDomain) {
  ExpectRefusedJoin("bad domain!/Servers",
                    "the domain 'bad domain!' is not a DNS name such as "
                    "ad.example.com: the label 'bad domain!' has a character "
                    "other than a letter, digit or hyphen");
  ExpectRefusedJoin("ad..test", "the domain 'ad..test' is not a DNS name such "
                                "as ad.example.com: it has an empty label");
  ExpectRefusedJoin("adtest", "the domain 'adtest' is not a DNS name such as "
                              "ad.example.com: it has one label only");
  ExpectRefusedJoin("ad.test-", "the domain 'ad.test-' is not a DNS name such "
                                "as ad.example.com: the label 'test-' begins "
                                "or ends with a hyphen");
  ExpectRefusedJoin("/Servers", "the domain is empty");
}

TEST_F(InputRulesTest, RefusesAnInvalidPrincipalDomain) {
  ExpectRefused({"principal", "bad domain!"},
                "the domain 'bad domain!' is not a DNS name such as "
                "ad.example.com: the label 'bad domain!' has a character "
                "other than a letter, digit or hyphen");
  ExpectRefused({"dc", "find", ""}, "the domain is empty");
}

TEST_F(InputRulesTest, RefusesEmptyAndMalformedUserNames) {
  ExpectRefused({"username", ""}, "the user name is empty");
  ExpectRefused({"username", "AD\\"},
                "the user name 'AD\\' is not NAME, DOMAIN\\NAME or NAME@DOMAIN");
  ExpectRefused({"username", "@ad.test"},
                "the user name '@ad.test' is not NAME, DOMAIN\\NAME or "
                "NAME@DOMAIN");
  ExpectRefused({"username", "jdoe "},
                "the user name 'jdoe ' begins or ends with a blank or holds a "
                "control character");
  ExpectRefused({"join", "ad.test", "--user", "", "--password-stdin"},
                "the user name is empty", std::string(kPassword) + "\n");
}

TEST_F(InputRulesTest, RefusesMalformedControllerAndServiceNames) {
  ExpectRefused({"dc", "set", "dc1.ad.test", "dc 2"},
                "the domain controller 'dc 2' is not a DNS name such as "
                "ad.example.com: the label 'dc 2' has a character other than "
                "a letter, digit or hyphen");
  ExpectRefused({"smartcard", "set", "sshd", ""}, "the service name is empty");
  ExpectRefused({"smartcard", "set", "../sshd"},
                "the service name '../sshd' holds a blank, a '/' or a control "
                "character");
  ExpectRefused({"join-proxy", "192.0.2.10", "--ou", "Servers//"},
                "the organizational unit 'Servers//' has an empty part; write "
                "units as 'Servers/Hypervisors', without a leading, trailing "
                "or doubled '/'");
}

TEST_F(InputRulesTest, AcceptsTheFormsItDocuments) {
  const ToolResult joined =
      RunTool({"join", "ad.test/OU=Hypervisors,OU=Servers", "--user",
               "Administrator", "--password-stdin"},
              std::string(kPassword) + "\n");
  EXPECT_EQ(joined.exitStatus, 0) << joined.err;
  EXPECT_EQ(RunTool({"username", "jdoe@ad.test"}).exitStatus, 0);
  EXPECT_EQ(RunTool({"username", "AD\\jdoe"}).exitStatus, 0);
  EXPECT_EQ(RunTool({"principal", "ad.test"}).exitStatus, 0);
}

}  // namespace
}  // namespace quarryauthctl_test
