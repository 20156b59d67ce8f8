// Runs the installed quarryauthctl inside the sandbox and sets the sandboxed
// host up the way installing the package and the demonstration plug-ins
// would.
#ifndef QUARRYAUTH_TESTS_TOOLHARNESS_H
#define QUARRYAUTH_TESTS_TOOLHARNESS_H

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace quarryauthctl_test {

struct ToolResult {
  int exitStatus = -1;
  std::string out;
  std::string err;

  nlohmann::json Json() const { return nlohmann::json::parse(out); }
};

// Runs PREFIX/sbin/quarryauthctl with arguments, input on standard input.
ToolResult RunTool(const std::vector<std::string>& arguments,
                   const std::string& input = std::string());

// Copies the demonstration plug-ins to /usr/libexec/quarryauth/lib64/ and
// writes provider.conf, camprovider.conf, an authentication.conf naming
// "None", and the directory's settings (administrator "Administrator",
// password kPassword, domain ad.test) followed by extraSettings.
void InstallDemo(const std::string& extraSettings = std::string());
extern const char kPassword[];

// A management interface mgmt0 (192.0.2.5) and a host node1 that resolves
// to node1.ad.test through /etc/hosts.
void PrepareHostForJoin();

// Joins ad.test (with organizationalUnit when not empty); fails the test
// when the join fails.
void Join(const std::string& organizationalUnit = std::string());

void WriteFile(const std::string& path, const std::string& text);
std::string ReadFile(const std::string& path);
// Names of the files in a directory.
std::vector<std::string> ListDirectory(const std::string& path);
void Shell(const std::string& command);

// What PAM, through pamtester, tells the local user "alice" (password
// kAlicePassword) of service: authentication with her password and with a
// wrong one, and account management (pamtester's exit statuses).
extern const char kAlicePassword[];
struct Outcome {
  int authenticated, wrongPasswordAuthenticated, account;
  bool operator==(const Outcome& other) const {
    return authenticated == other.authenticated &&
           wrongPasswordAuthenticated == other.wrongPasswordAuthenticated &&
           account == other.account;
  }
};
// Adds alice to the host's own accounts.
void AddLocalUser();
Outcome OutcomeOf(const std::string& service);

}  // namespace quarryauthctl_test

#endif
