// Running quarry-authproxyd and calling the quarrycam plug-in in tests:
// certificates made with openssl, daemons stopped by PID, and the plug-in's
// table called directly.
#ifndef QUARRYAUTH_TESTS_AUTHPROXY_PROXYHARNESS_H
#define QUARRYAUTH_TESTS_AUTHPROXY_PROXYHARNESS_H

#include <sys/types.h>

#include <chrono>
#include <quarryauth/plugin/CAMProxyClient.h>
#include <string>
#include <vector>

namespace authproxy_test {

// The settings of a proxy beside the test domain controller: it listens on
// 198.51.100.10, serves 198.51.100.1 and works as the domain's
// Administrator with the certificate, key and password in /etc/quarry;
// extra lines follow.
std::string DomainProxySettings(const std::string& extra = std::string());

// A self-signed certificate /etc/quarry/<name>.pem with key <name>.key.
void MakeCertificate(const std::string& name);
// Its SHA-1 thumbprint as openssl prints it (upper-case pairs and ':').
std::string OpensslThumbprint(const std::string& pemPath);
// A host's self-signed client certificate /etc/quarry/<host>.pem (common
// name and DNS name host) with key <host>.key.
void MakeHostCertificate(const std::string& host);
// Its SHA-256 thumbprint as openssl prints it: what the proxy enrols.
std::string OpensslSha256Thumbprint(const std::string& pemPath);
// A certificate /etc/quarry/<host>.pem (key <host>.key) for host, issued
// by the authority /etc/quarry/hosts-ca.pem, made on first use.
void MakeAuthorityIssuedCertificate(const std::string& host);
// Whether the domain's Kerberos service accepts password for principal (a
// kinit into a credential cache of its own memory).
bool KerberosLogon(const std::string& principal, const std::string& password);
// Has the quarrycam plug-in present host's certificate (none: empty).
void UseHostCertificate(const std::string& host);

// A background process whose standard input is /dev/null and whose output
// goes to logPath; stopped (SIGTERM, then SIGKILL) when destroyed. With
// ignoreChildSignal it starts with SIGCHLD ignored, as many services run.
class Daemon {
 public:
  Daemon(const std::vector<std::string>& arguments, const std::string& logPath,
         const std::string& path = std::string(),
         bool ignoreChildSignal = false);
  ~Daemon();
  Daemon(const Daemon&) = delete;
  Daemon& operator=(const Daemon&) = delete;

  // Stops the process; its exit status, or -1 when it was killed.
  int Stop();
  // Waits for the process to end by itself; -1 when it has not after
  // limit.
  int WaitForExit(std::chrono::seconds limit);

 private:
  pid_t pid_;
  int status_ = -1;
};

// True once something accepts TCP connections there.
bool WaitForPort(const std::string& address, int port,
                 std::chrono::seconds limit);

// The quarrycam plug-in, loaded from its build output.
class CamPlugin {
 public:
  CamPlugin();
  ~CamPlugin();
  CamPlugin(const CamPlugin&) = delete;
  CamPlugin& operator=(const CamPlugin&) = delete;

  struct Domain {
    CAMProxyResult result;
    std::string netbiosName, dnsName, sid;
    bool stringsReturned;  // any out string set
  };
  struct Account {
    CAMProxyResult result;
    std::string dn, oneTimePassword;
    bool stringsReturned;
  };

  Domain GetDomainInfo(const std::string& server, bool verify,
                       const std::string& thumbprint) const;
  // An empty container is passed as a null pointer.
  Account CreateMachineAccount(const std::string& server,
                               const std::string& account,
                               const std::string& container, bool verify,
                               const std::string& thumbprint) const;

 private:
  void* handle_;
  const CAMProxyClientOperationTable* table_;
};

}  // namespace authproxy_test

#endif
