#include "directory/ProxyDomain.h"

#include <sys/stat.h>
#include <sys/wait.h>

#include <cstdlib>

#include "support/Files.h"
#include "support/Plugins.h"

namespace authproxy_test {

using quarry_test::ReadFile;
using quarry_test::Shell;
using quarry_test::WriteFile;

const std::string kSambaDc = SAMBA_DC;
const char kDcDirectory[] = "/var/lib/samba-dc";
const char kProxy[] = "198.51.100.10";
const char kProxyCertificate[] = "/etc/quarry/authproxyd.pem";
const char kProxyLog[] = "/var/lib/authproxyd.log";
const char kAdminPassword[] = "Quarry-Admin-1";

CtlResult RunCtl(const std::string& arguments) {
  const int status = std::system((std::string(QUARRYAUTHCTL) + " " + arguments +
                                  " < /dev/null > /var/lib/quarry-test-ctl.out 2> /var/lib/quarry-test-ctl.err")
                                     .c_str());
  return CtlResult{WIFEXITED(status) ? WEXITSTATUS(status) : -1,
                   ReadFile("/var/lib/quarry-test-ctl.out"), ReadFile("/var/lib/quarry-test-ctl.err")};
}

std::string ComputerDN(const std::string& name) {
  const int status = std::system(
      (kSambaDc + " tool " + kDcDirectory + " computer show " + name +
       " --attributes=distinguishedName > /var/lib/quarry-test-computer.out 2>&1")
          .c_str());
  if (status != 0) return std::string();
  const std::string text = ReadFile("/var/lib/quarry-test-computer.out");
  return text.compare(0, 4, "dn: ") == 0 ? text.substr(4, text.find('\n') - 4)
                                          : "(unexpected: " + text + ")";
}

std::string ComputerAttribute(const std::string& name,
                              const std::string& attribute) {
  const int status = std::system(
      (kSambaDc + " tool " + kDcDirectory + " computer show " + name +
       " --attributes=" + attribute + " > /var/lib/quarry-test-computer.out 2>&1")
          .c_str());
  if (status != 0) return std::string();
  const std::string text = ReadFile("/var/lib/quarry-test-computer.out");
  const std::string::size_type line = text.find("\n" + attribute + ": ");
  if (line == std::string::npos) return std::string();
  const std::string::size_type start = line + attribute.size() + 3;
  return text.substr(start, text.find('\n', start) - start);
}

std::pair<std::string, std::string> AskProxy(const std::string& body,
                                             const std::string& identity,
                                             const std::string& path,
                                             int port) {
  const std::string method =
      path == "/api/v1/computers" ? "-X POST -d '" + body + "' " : "";
  Shell("curl -sk --max-time 60 -o /var/lib/quarry-test-curl.body -w '%{http_code}' "
        "--cert /etc/quarry/" + identity + ".pem --key /etc/quarry/" +
        identity + ".key " + method + "https://198.51.100.10:" +
        std::to_string(port) + path + " > /var/lib/quarry-test-curl.code");
  return {ReadFile("/var/lib/quarry-test-curl.code"),
          ReadFile("/var/lib/quarry-test-curl.body")};
}

void SetVerification(int value) {
  WriteFile("/etc/quarry/advanced.conf",
            "UserVars.ActiveDirectoryVerifyCAMCertificate = \"" +
                std::to_string(value) + "\"\n");
}

void ProxyDomainTest::SetUp() {
  Shell(kSambaDc + " start " SAMBA_DC_TEMPLATE " " + kDcDirectory);
  dcStarted_ = true;
  PrepareHost();
  PrepareProxy();
  StartProxy();
}

void ProxyDomainTest::TearDown() {
  proxy_.reset();
  if (dcStarted_) Shell(kSambaDc + " stop " + kDcDirectory);
}

void ProxyDomainTest::PrepareHost() {
  Shell("hostname node1");
  WriteFile("/etc/hosts",
            "127.0.0.1\tlocalhost\n198.51.100.1\tnode1.ad.test node1\n");
  WriteFile("/etc/resolv.conf", "nameserver 198.51.100.10\nsearch ad.test\n");
  WriteFile("/etc/krb5.conf",
            "[libdefaults]\n  default_realm = AD.TEST\n"
            "  dns_lookup_kdc = true\n  rdns = false\n");
  WriteFile("/etc/quarry/network.conf", "management-interface = \"qdc0\"\n");
  WriteFile("/etc/quarry/quarryauth/authentication.conf",
            "remote-authentication-store = \"None\"\n");
  WriteFile("/etc/quarry/quarryauth/provider.conf",
            "provider = \"quarryadcli\"\n");
  WriteFile("/etc/quarry/quarryauth/camprovider.conf",
            "provider = \"quarrycam\"\n");
  quarry_test::InstallPlugin(QUARRYADCLI_PLUGIN, "quarryadcli", true);
  quarry_test::InstallPlugin(QUARRYCAM_PLUGIN, "quarrycam", true);
  SetVerification(1);
  // The proxy serves enrolled hosts only: this host makes its own
  // certificate, and the proxy's administrator enrols it.
  Shell(std::string(QUARRYAUTHCTL) +
        " host-cert create --self-signed > /dev/null");
}

void ProxyDomainTest::PrepareProxy() {
  MakeCertificate("authproxyd");
  WriteFile("/etc/quarry/authproxyd.secret", std::string(kAdminPassword) + "\n");
  ::chmod("/etc/quarry/authproxyd.secret", 0600);
  WriteFile("/etc/quarry/authproxyd.conf", DomainProxySettings());
  Shell(std::string(AUTHPROXYD) +
        " enroll node1.ad.test --certificate /etc/quarry/quarrycam.pem"
        " > /dev/null");
}

std::unique_ptr<Daemon> ProxyDomainTest::StartProxyProcess(
    const std::string& settings, const std::string& logPath, int port,
    bool ignoreChildSignal) {
  const std::string netns = ReadFile(std::string(kDcDirectory) + "/netns.pid");
  std::unique_ptr<Daemon> proxy(new Daemon(
      {"nsenter", "--net", "--target", netns.substr(0, netns.find('\n')),
       AUTHPROXYD, "-c", settings, "--foreground"},
      logPath, std::string(), ignoreChildSignal));
  EXPECT_TRUE(WaitForPort(kProxy, port, std::chrono::seconds(15)))
      << ReadFile(logPath);
  return proxy;
}

void ProxyDomainTest::StartProxy(bool ignoreChildSignal) {
  proxy_ = StartProxyProcess("/etc/quarry/authproxyd.conf", kProxyLog, 443,
                             ignoreChildSignal);
}

}  // namespace authproxy_test
