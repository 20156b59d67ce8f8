// A Samba Active Directory domain with quarry-authproxyd serving it: the
// domain controller (198.51.100.10) runs in a network namespace of its
// own, the proxy beside it in that namespace; this host is node1.ad.test at
// 198.51.100.1, with the quarryadcli and quarrycam plug-ins installed and
// its certificate enrolled with the proxy.
#ifndef QUARRYAUTH_TESTS_DIRECTORY_PROXYDOMAIN_H
#define QUARRYAUTH_TESTS_DIRECTORY_PROXYDOMAIN_H

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>

#include "authproxy/ProxyHarness.h"

namespace authproxy_test {

extern const std::string kSambaDc;
extern const char kDcDirectory[];
extern const char kProxy[];
extern const char kProxyCertificate[];
extern const char kProxyLog[];
extern const char kAdminPassword[];

struct CtlResult {
  int exitStatus;
  std::string out;
  std::string err;
};

CtlResult RunCtl(const std::string& arguments);

// The distinguished name of the domain's computer account name, read from
// the domain controller's own database; empty when there is none.
std::string ComputerDN(const std::string& name);

// An attribute of the domain's computer account name, as samba-tool shows
// it ("objectGUID: ..."); empty when there is no such account.
std::string ComputerAttribute(const std::string& name,
                              const std::string& attribute);

// What the proxy answers curl from this host, presenting the certificate
// /etc/quarry/<identity>.pem: status code, then body. A path other than
// the computers request is asked with GET.
std::pair<std::string, std::string> AskProxy(
    const std::string& body, const std::string& identity = "quarrycam",
    const std::string& path = "/api/v1/computers", int port = 443);

void SetVerification(int value);

class ProxyDomainTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  static void PrepareHost();
  static void PrepareProxy();
  // Starts the proxy in the controller's network namespace with the
  // settings file given; with ignoreChildSignal, SIGCHLD ignored.
  static std::unique_ptr<Daemon> StartProxyProcess(
      const std::string& settings, const std::string& logPath, int port,
      bool ignoreChildSignal = false);
  void StartProxy(bool ignoreChildSignal = false);

  bool dcStarted_ = false;
  std::unique_ptr<Daemon> proxy_;
};

}  // namespace authproxy_test

#endif
