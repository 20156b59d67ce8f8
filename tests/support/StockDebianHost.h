// A Debian 12 host's PAM and name-service files as installed, for tests
// that wire the directory's modules into them: tests/quarryauthctl/debian-pam.d
// (the common-* files as pam-auth-update writes them with the "unix"
// profile alone) and tests/quarryauthctl/debian-nsswitch.conf. The sandbox must
// overlay /usr (quarry-sandbox --system): pam-auth-update's profiles are
// there.
#ifndef QUARRYAUTH_TESTS_SUPPORT_STOCKDEBIANHOST_H
#define QUARRYAUTH_TESTS_SUPPORT_STOCKDEBIANHOST_H

#include <sys/stat.h>

#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/Files.h"

namespace quarry_test {

// Throws unless /usr is a mount of its own here (the overlay of
// quarry-sandbox --system): these tests change files under /usr.
inline void RequireSystemSandbox() {
  std::ifstream mounts("/proc/self/mountinfo");
  std::string line;
  while (std::getline(mounts, line)) {
    std::istringstream fields(line);
    std::string id, parent, device, root, mountPoint;
    if (fields >> id >> parent >> device >> root >> mountPoint &&
        mountPoint == "/usr" && line.find(" - overlay ") != std::string::npos) {
      return;
    }
  }
  throw std::runtime_error(
      "this test changes /usr and must run in quarry-sandbox --system");
}

inline void MakeStockDebianLoginFiles(const std::string& sourceFolder) {
  RequireSystemSandbox();
  Shell("rm -rf /etc/pam.d && mkdir /etc/pam.d && cp " + sourceFolder +
        "/tests/quarryauthctl/debian-pam.d/* /etc/pam.d/");
  Shell("cp " + sourceFolder + "/tests/quarryauthctl/debian-nsswitch.conf "
        "/etc/nsswitch.conf");
  // pam-auth-update as on such a host: the "unix" profile alone, and its
  // record of the common-* files consistent with them.
  Shell("find /usr/share/pam-configs -mindepth 1 ! -name unix -delete");
  Shell("rm -rf /var/lib/pam && mkdir /var/lib/pam");
  Shell("DEBIAN_FRONTEND=noninteractive pam-auth-update --package --force "
        "> /dev/null 2>&1");
}

// The files where login wiring happens, each with its content: every file
// of /etc/pam.d, /usr/share/pam-configs and /var/lib/pam, and
// /etc/nsswitch.conf.
inline std::map<std::string, std::string> LoginFiles() {
  std::map<std::string, std::string> files;
  for (const char* folder :
       {"/etc/pam.d", "/usr/share/pam-configs", "/var/lib/pam"}) {
    for (const std::string& name : ListDirectory(folder)) {
      const std::string path = std::string(folder) + "/" + name;
      files[path] = ReadFile(path);
    }
  }
  files["/etc/nsswitch.conf"] = ReadFile("/etc/nsswitch.conf");
  return files;
}

}  // namespace quarry_test

#endif
