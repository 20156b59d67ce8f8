#include "authentication/HostSetup.h"

#include <unistd.h>

#include <cstdlib>
#include <sstream>
#include <stdexcept>

#include "authentication/PluginHarness.h"

namespace quarryauth_test {

const char kManagementAddress[] = "192.0.2.5";

namespace {

void Run(const std::string& command) {
  if (std::system(command.c_str()) != 0) {
    throw std::runtime_error("failed: " + command);
  }
}

}  // namespace

void AddManagementInterface() {
  // Some kernels lack the dummy driver; an empty bridge serves as well.
  Run("ip link add mgmt0 type dummy 2>/dev/null || "
      "ip link add mgmt0 type bridge");
  Run(std::string("ip addr add ") + kManagementAddress + "/24 dev mgmt0");
  Run("ip link set mgmt0 up");
  WriteFile("/etc/quarry/network.conf", "management-interface = \"mgmt0\"\n");
}

void SetHost(const std::string& hostName, const std::string& names,
             const std::string& extra) {
  if (::sethostname(hostName.data(), hostName.size()) != 0) {
    throw std::runtime_error("sethostname failed");
  }
  std::string hosts = "127.0.0.1\tlocalhost\n";
  if (!names.empty()) hosts += std::string(kManagementAddress) + "\t" + names + "\n";
  WriteFile("/etc/hosts", hosts + extra);
}

std::string HostsEntry(const std::string& address) {
  std::istringstream hosts(ReadFile("/etc/hosts"));
  std::string line;
  while (std::getline(hosts, line)) {
    std::istringstream words(line);
    std::string first;
    words >> first;
    if (first != address) continue;
    std::string joined, word;
    while (words >> word) joined += (joined.empty() ? "" : " ") + word;
    return joined;
  }
  return std::string();
}

void ResolveFromFilesOnly() {
  Run("sed -i 's/^hosts:.*/hosts: files/' /etc/nsswitch.conf");
}

}  // namespace quarryauth_test
