#include "Adcli.h"

#include <syslog.h>

#include <cstring>

#include "AdcliOutput.h"
#include <common/ChildProcess.h>

namespace quarryadcli {

const char* const kAdcliPath = "/usr/sbin/adcli";

namespace {

// A join talks to DNS, Kerberos and LDAP several times; the library asks
// status questions with a 60-second time-out, so a test of the join stays
// well below it.
const int kJoinSeconds = 90;
const int kTestJoinSeconds = 30;

AdcliRun Run(const char* what, const std::vector<std::string>& arguments,
             const std::string& input, int seconds) {
  AdcliRun run;
  std::vector<std::string> command = {kAdcliPath};
  command.insert(command.end(), arguments.begin(), arguments.end());
  const quarry::common::ChildResult child =
      quarry::common::RunChild(command, input, std::chrono::seconds(seconds));
  run.errors = child.errors;
  if (!child.started) {
    syslog(LOG_ERR, "quarryadcli: cannot run %s: %s", kAdcliPath,
           std::strerror(child.startError));
    run.status = ADCLIENT_STATUS_FILE_NOT_FOUND;
  } else if (child.timedOut) {
    syslog(LOG_ERR, "quarryadcli: adcli %s gave no answer in %d s", what,
           seconds);
    run.status = kStatusTimedOut;
  } else if (child.exitStatus != 0) {
    syslog(LOG_ERR, "quarryadcli: adcli %s failed: %s", what,
           child.errors.c_str());
    run.status = ClassifyFailure(child.errors);
  } else {
    run.details = ParseDetails(child.output);
  }
  return run;
}

void AddServer(std::vector<std::string>& arguments,
               const std::string& domainController) {
  if (!domainController.empty()) {
    arguments.push_back("--domain-server=" + domainController);
  }
}

}  // namespace

AdcliRun Join(const JoinRequest& request) {
  std::vector<std::string> arguments = {
      "join", "--stdin-password", "--show-details",
      "--domain=" + request.domain, "--host-fqdn=" + request.hostName,
      "--computer-name=" + request.computerName};
  if (request.user.empty()) {
    arguments.push_back("--login-type=computer");
  } else {
    arguments.push_back("--login-user=" + request.user);
  }
  if (!request.organizationalUnitDN.empty()) {
    arguments.push_back("--domain-ou=" + request.organizationalUnitDN);
  }
  AddServer(arguments, request.domainController);
  return Run("join", arguments, request.secret + "\n", kJoinSeconds);
}

AdcliRun DeleteComputer(const std::string& domain,
                        const std::string& computerName,
                        const std::string& domainController,
                        const std::string& user, const std::string& password) {
  std::vector<std::string> arguments = {"delete-computer", "--stdin-password",
                                        "--domain=" + domain,
                                        "--login-user=" + user};
  AddServer(arguments, domainController);
  arguments.push_back(computerName);
  return Run("delete-computer", arguments, password + "\n", kJoinSeconds);
}

AdcliRun TestJoin(const std::string& domain,
                  const std::string& domainController) {
  std::vector<std::string> arguments = {"testjoin", "--domain=" + domain};
  AddServer(arguments, domainController);
  return Run("testjoin", arguments, "", kTestJoinSeconds);
}

}  // namespace quarryadcli
