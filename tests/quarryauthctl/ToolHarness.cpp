#include "quarryauthctl/ToolHarness.h"

#include <dirent.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <memory>
#include <sstream>
#include <stdexcept>

namespace quarryauthctl_test {

const char kPassword[] = "Right-Password-1";

namespace {

const std::string kPrefix = QUARRYAUTHCTL_TEST_PREFIX;

// Output goes to files under the sandbox's private /var/lib.
const char kScratch[] = "/var/lib/quarryauthctl-test";

int OpenOrDie(const std::string& path, int flags) {
  const int descriptor = ::open(path.c_str(), flags, 0600);
  if (descriptor < 0) _exit(126);
  return descriptor;
}

[[noreturn]] void ExecTool(const std::vector<std::string>& arguments) {
  const std::string program = kPrefix + "/sbin/quarryauthctl";
  std::vector<char*> argv;
  argv.push_back(const_cast<char*>(program.c_str()));
  for (const auto& argument : arguments) {
    argv.push_back(const_cast<char*>(argument.c_str()));
  }
  argv.push_back(nullptr);
  ::setenv("LD_LIBRARY_PATH", (kPrefix + "/lib").c_str(), 1);
  ::execv(program.c_str(), argv.data());
  _exit(127);
}

}  // namespace

ToolResult RunTool(const std::vector<std::string>& arguments,
                   const std::string& input) {
  Shell(std::string("mkdir -p ") + kScratch);
  const std::string in = std::string(kScratch) + "/in";
  const std::string out = std::string(kScratch) + "/out";
  const std::string err = std::string(kScratch) + "/err";
  WriteFile(in, input);
  const pid_t child = ::fork();
  if (child < 0) throw std::runtime_error("fork failed");
  if (child == 0) {
    ::dup2(OpenOrDie(in, O_RDONLY), STDIN_FILENO);
    ::dup2(OpenOrDie(out, O_WRONLY | O_CREAT | O_TRUNC), STDOUT_FILENO);
    ::dup2(OpenOrDie(err, O_WRONLY | O_CREAT | O_TRUNC), STDERR_FILENO);
    ExecTool(arguments);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  ToolResult result;
  result.exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  result.out = ReadFile(out);
  result.err = ReadFile(err);
  return result;
}

void InstallDemo(const std::string& extraSettings) {
  Shell("mkdir -p /usr/libexec/quarryauth/lib64");
  Shell("cp " + kPrefix + "/libexec/quarryauth/lib64/libquarrydemo.so " +
        kPrefix +
        "/libexec/quarryauth/lib64/libquarrydemocam.so "
        "/usr/libexec/quarryauth/lib64/");
  WriteFile("/etc/quarry/quarryauth/authentication.conf",
            "remote-authentication-store = \"None\"\n");
  WriteFile("/etc/quarry/quarryauth/provider.conf",
            "provider = \"quarrydemo\"\n");
  WriteFile("/etc/quarry/quarryauth/camprovider.conf",
            "provider = \"quarrydemocam\"\n");
  WriteFile(
      "/etc/quarry/quarrydemo.conf",
      "administrator = \"Administrator\"\n"
      "password = \"" +
          std::string(kPassword) +
          "\"\n"
          "domain = \"ad.test\"\n"
          "netbios-name = \"AD\"\n"
          "domain-controllers = \"dc1.ad.test dc2.ad.test\"\n"
          "trusted-domains = \"emea.ad.test:EMEA partner.test:PARTNER\"\n" +
          extraSettings);
}

void PrepareHostForJoin() {
  Shell(
      "ip link add mgmt0 type dummy 2>/dev/null || "
      "ip link add mgmt0 type bridge");
  Shell("ip addr add 192.0.2.5/24 dev mgmt0");
  Shell("ip link set mgmt0 up");
  WriteFile("/etc/quarry/network.conf", "management-interface = \"mgmt0\"\n");
  Shell("hostname node1");
  WriteFile("/etc/hosts",
            "127.0.0.1\tlocalhost\n192.0.2.5\tnode1.ad.test node1\n");
  Shell("sed -i 's/^hosts:.*/hosts: files/' /etc/nsswitch.conf");
}

void Join(const std::string& organizationalUnit) {
  const std::string domain =
      organizationalUnit.empty() ? "ad.test" : "ad.test/" + organizationalUnit;
  const ToolResult joined =
      RunTool({"join", domain, "--user", "Administrator", "--password-stdin"},
              std::string(kPassword) + "\n");
  ASSERT_EQ(joined.exitStatus, 0) << joined.err;
}

void WriteFile(const std::string& path, const std::string& text) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out << text;
  if (!out.flush()) throw std::runtime_error("cannot write " + path);
}

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

std::vector<std::string> ListDirectory(const std::string& path) {
  std::vector<std::string> names;
  const std::unique_ptr<DIR, int (*)(DIR*)> directory(::opendir(path.c_str()),
                                                      ::closedir);
  if (!directory) return names;
  while (const dirent* entry = ::readdir(directory.get())) {
    const std::string name = entry->d_name;
    if (name != "." && name != "..") names.push_back(name);
  }
  return names;
}

void Shell(const std::string& command) {
  if (std::system(command.c_str()) != 0) {
    throw std::runtime_error("failed: " + command);
  }
}

const char kAlicePassword[] = "Alice-Secret-1";

void AddLocalUser() {
  Shell(std::string("useradd -M alice && echo 'alice:") + kAlicePassword +
        "' | chpasswd");
}

namespace {

int Pamtester(const std::string& service, const char* operation,
              const char* password) {
  WriteFile("/var/lib/quarry-test-pamtester.in", std::string(password) + "\n");
  return std::system(("pamtester " + service + " alice " + operation +
                      " < /var/lib/quarry-test-pamtester.in > /dev/null 2>&1")
                         .c_str());
}

}  // namespace

Outcome OutcomeOf(const std::string& service) {
  return {Pamtester(service, "authenticate", kAlicePassword),
          Pamtester(service, "authenticate", "wrong"),
          Pamtester(service, "acct_mgmt", "")};
}

}  // namespace quarryauthctl_test
