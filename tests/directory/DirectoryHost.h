// A host and a real Samba Active Directory domain controller for the
// end-to-end tests, both inside the test's sandbox: the DC "dc1.ad.test"
// (198.51.100.10) in a network namespace of its own, the host "node1"
// (node1.ad.test, 198.51.100.1) with the quarryadcli plug-in installed and
// Samba's DNS as its resolver.
#ifndef QUARRYAUTH_TESTS_DIRECTORYHOST_H
#define QUARRYAUTH_TESTS_DIRECTORYHOST_H

#include <string>
#include <vector>

namespace quarryauth_directory_test {

extern const char kAdministrator[];
extern const char kAdministratorPassword[];
extern const char kHostAddress[];

// What a command printed and how it ended.
struct CommandResult {
  int exitStatus = -1;
  std::string output;  // standard output and standard error together
};

// Runs a shell command line; never throws.
CommandResult RunCommand(const std::string& commandLine);

// Quotes a word for the shell.
std::string Quote(const std::string& word);

// Starts a DC from the provisioned template on construction and stops it
// (by PID) on destruction.
class DomainController {
 public:
  DomainController();
  ~DomainController();
  DomainController(const DomainController&) = delete;
  DomainController& operator=(const DomainController&) = delete;

  // The DC freezes: nothing is refused, nothing is answered.
  void Pause();
  void Resume();
  // The DC's processes stop and start again on the same database.
  void Restart();
  // samba-tool against the running DC; fails the test when it fails.
  std::string Tool(const std::string& arguments);
  // DNs of the objects below base that match filter (simple bind as the
  // administrator).
  std::vector<std::string> Search(const std::string& base,
                                  const std::string& filter);

 private:
  std::string Script(const std::string& arguments) const;
  std::string folder_;
};

// Sets the sandboxed host up: host name, hosts file, resolver, management
// interface, the plug-in in /usr/libexec/quarryauth/lib64 and the library's
// provider.conf naming "quarryadcli", "None" active.
void PrepareHost();

}  // namespace quarryauth_directory_test

#endif
