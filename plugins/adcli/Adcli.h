// The adcli commands that the plug-in runs, with the secrets they need on
// standard input and never on a command line, and with bounded time.
#ifndef QUARRYADCLI_ADCLI_H
#define QUARRYADCLI_ADCLI_H

#include <quarryauth/plugin/ActiveDirectoryClient.h>

#include <map>
#include <string>
#include <vector>

namespace quarryadcli {

extern const char* const kAdcliPath;  // "/usr/sbin/adcli"

struct AdcliRun {
  ADClientStatus status = ADCLIENT_STATUS_SUCCESS;
  std::string errors;                         // adcli's standard error
  std::map<std::string, std::string> details;  // from --show-details
};

struct JoinRequest {
  std::string domain;
  std::string organizationalUnitDN;  // empty: adcli's default container
  std::string hostName;              // fully qualified
  std::string computerName;
  std::string domainController;      // empty: found through DNS
  std::string user;                  // empty: join with a one-time password
  std::string secret;                // password or one-time password
};

// "adcli join", with the administrator's password or, when user is empty,
// the preset account's one-time password.
AdcliRun Join(const JoinRequest& request);

// "adcli delete-computer" of the host's account, as user.
AdcliRun DeleteComputer(const std::string& domain,
                        const std::string& computerName,
                        const std::string& domainController,
                        const std::string& user, const std::string& password);

// "adcli testjoin": whether the host's keys still open the machine account.
AdcliRun TestJoin(const std::string& domain,
                  const std::string& domainController);

}  // namespace quarryadcli

#endif
