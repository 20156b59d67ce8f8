#include "directory/DirectoryHost.h"

#include <gtest/gtest.h>
#include <stdio.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <sstream>

#include "support/Files.h"

namespace quarryauth_directory_test {

const char kAdministrator[] = "Administrator";
const char kAdministratorPassword[] = "Quarry-Admin-1";
const char kHostAddress[] = "198.51.100.1";

namespace {

const char kScript[] = QUARRYAUTH_SAMBA_DC_SCRIPT;
const char kTemplate[] = QUARRYAUTH_DC_TEMPLATE;
const char kWorkFolder[] = QUARRYAUTH_DC_WORK;
const char kPlugin[] = QUARRYAUTH_ADCLI_PLUGIN;

}  // namespace

CommandResult RunCommand(const std::string& commandLine) {
  CommandResult result;
  const std::string line = "(" + commandLine + ") 2>&1";
  FILE* pipe = popen(line.c_str(), "r");
  if (pipe == nullptr) return result;
  char buffer[4096];
  std::size_t count;
  while ((count = fread(buffer, 1, sizeof buffer, pipe)) > 0) {
    result.output.append(buffer, count);
  }
  const int status = pclose(pipe);
  result.exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return result;
}

std::string Quote(const std::string& word) {
  std::string quoted = "'";
  for (char c : word) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
}

DomainController::DomainController() {
  // Tests run in parallel, each in its own sandbox and PID namespace (so
  // process IDs repeat): a fresh folder per DC keeps them apart.
  std::string pattern = std::string(kWorkFolder) + "/dc-XXXXXX";
  if (mkdtemp(pattern.data()) == nullptr) {
    ADD_FAILURE() << "cannot make a folder in " << kWorkFolder;
    return;
  }
  folder_ = pattern;
  const CommandResult started = RunCommand(Script("start " + Quote(kTemplate) +
                                                  " " + Quote(folder_)));
  if (started.exitStatus != 0) {
    ADD_FAILURE() << "the domain controller did not start:\n"
                  << started.output;
  }
}

DomainController::~DomainController() {
  RunCommand(Script("stop " + Quote(folder_)));
  RunCommand("rm -rf " + Quote(folder_));
}

std::string DomainController::Script(const std::string& arguments) const {
  return Quote(kScript) + " " + arguments;
}

void DomainController::Pause() {
  ASSERT_EQ(RunCommand(Script("pause " + Quote(folder_))).exitStatus, 0);
}

void DomainController::Resume() {
  ASSERT_EQ(RunCommand(Script("resume " + Quote(folder_))).exitStatus, 0);
}

void DomainController::Restart() {
  const CommandResult restarted = RunCommand(Script("restart " + Quote(folder_)));
  EXPECT_EQ(restarted.exitStatus, 0) << restarted.output;
}

std::string DomainController::Tool(const std::string& arguments) {
  const CommandResult result =
      RunCommand(Script("tool " + Quote(folder_) + " " + arguments));
  EXPECT_EQ(result.exitStatus, 0) << "samba-tool " << arguments << ":\n"
                                  << result.output;
  return result.output;
}

std::vector<std::string> DomainController::Search(const std::string& base,
                                                  const std::string& filter) {
  const CommandResult result = RunCommand(
      "ldapsearch -LLL -x -o ldif-wrap=no -H ldap://198.51.100.10 -D " +
      Quote(std::string(kAdministrator) + "@ad.test") + " -w " +
      Quote(kAdministratorPassword) + " -b " + Quote(base) + " " +
      Quote(filter) + " dn");
  std::vector<std::string> names;
  // 32: the base itself does not exist, which means no match either.
  EXPECT_TRUE(result.exitStatus == 0 || result.exitStatus == 32)
      << result.output;
  std::istringstream lines(result.output);
  std::string line;
  while (std::getline(lines, line)) {
    if (line.rfind("dn: ", 0) == 0) names.push_back(line.substr(4));
  }
  return names;
}

void PrepareHost() {
  using quarry_test::Shell;
  using quarry_test::WriteFile;
  Shell("hostname node1");
  WriteFile("/etc/hosts", std::string("127.0.0.1\tlocalhost\n") +
                              kHostAddress + "\tnode1.ad.test node1\n");
  WriteFile("/etc/resolv.conf",
            "nameserver 198.51.100.10\nsearch ad.test\n"
            "options timeout:1 attempts:2\n");
  Shell("sed -i 's/^hosts:.*/hosts: files dns/' /etc/nsswitch.conf");
  WriteFile("/etc/quarry/network.conf", "management-interface = \"qdc0\"\n");
  Shell("mkdir -p /usr/libexec/quarryauth/lib64");
  Shell("cp " + Quote(kPlugin) + " /usr/libexec/quarryauth/lib64/");
  WriteFile("/etc/quarry/quarryauth/provider.conf",
            "provider = \"quarryadcli\"\n");
  WriteFile("/etc/quarry/quarryauth/authentication.conf",
            "remote-authentication-store = \"None\"\n");
}

}  // namespace quarryauth_directory_test
