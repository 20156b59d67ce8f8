// The proxy's configuration file, /etc/quarry/authproxyd.conf by default, in
// the key = "value" format of the host's other configuration files:
//
//   listen-address = "0.0.0.0"          optional, IPv4
//   port = "443"                        optional
//   certificate-file = "/etc/quarry/authproxyd.pem"
//   key-file = "/etc/quarry/authproxyd.key"
//   domain = "ad.example.com"           the domain's DNS name
//   domain-controller = "dc1.ad.example.com"   optional; else discovered
//   service-user = "quarry-proxy"       the account that creates computers
//   password-file = "/etc/quarry/authproxyd.secret"  root-only, its password
//   allowed-networks = "192.0.2.0/24 198.51.100.7"   who may ask
//   default-container = "OU=Hosts,DC=ad,DC=example,DC=com"  optional; else
//                                       the domain's computers container
//   base-container = "OU=Hosts,DC=ad,DC=example,DC=com"  optional: accounts
//                                       are created and reset only at or
//                                       under it; else the default
//                                       container, else CN=Computers
//   enrolment-file = "/etc/quarry/authproxyd.enrolled"  optional: the
//                                       enrolled hosts (Enrolment.h)
//   client-ca-file = "/etc/quarry/hosts-ca.pem"  optional: hosts with a
//                                       certificate issued by these
//                                       authorities are served too
//   request-timeout-seconds = "30"      optional; a request is answered
//                                       within this time of its arrival,
//                                       and changes nothing after it
//                                       (adcli-timeout-seconds: older name)
//   max-connections = "64"              optional; connections served at
//                                       once (1 to 1024); as many more wait
//   receive-timeout-seconds = "10"      optional; a connection must deliver
//                                       its whole request within this time
//                                       of being accepted (1 to 600)
//   directory-workers = "16"            optional; requests that reach the
//                                       directory at once (1 to 256); the
//                                       others wait their turn
#ifndef QUARRY_AUTHPROXYD_PROXYSETTINGS_H
#define QUARRY_AUTHPROXYD_PROXYSETTINGS_H

#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "services/authproxyd/Ipv4Network.h"

namespace quarry::authproxyd {

extern const char kDefaultSettingsPath[];
extern const char kDefaultEnrolmentPath[];

struct ProxySettings {
  std::string listenAddress = "0.0.0.0";
  int port = 443;
  std::string certificateFile;
  std::string keyFile;
  std::string domain;
  std::string domainController;
  std::string serviceUser;
  std::string passwordFile;
  std::vector<Ipv4Network> allowedNetworks;
  std::string defaultContainer;
  std::string baseContainer;  // never empty once read
  std::string enrolmentFile;
  std::string clientCaFile;  // empty: enrolled certificates only
  int requestTimeoutSeconds = 30;
  int directoryWorkers = 16;
  int maxConnections = 64;
  int receiveTimeoutSeconds = 10;
};

// A configuration that cannot be used; what() names the file and the fault.
class SettingsError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Reads and checks the whole file; throws SettingsError.
ProxySettings ReadProxySettings(const std::string& path);

// The pairs of a file of the proxy's in the key = "value" format, lines
// that begin with "#" being comments; throws SettingsError naming the file
// when it cannot be read or a line is malformed.
std::map<std::string, std::string> ReadSettingsFile(const std::string& path);

}  // namespace quarry::authproxyd

#endif
