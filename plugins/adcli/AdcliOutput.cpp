#include "AdcliOutput.h"

#include <sstream>

namespace quarryadcli {
namespace {

bool Contains(const std::string& text, const char* part) {
  return text.find(part) != std::string::npos;
}

std::string Trim(const std::string& text) {
  const auto first = text.find_first_not_of(" \t\r");
  if (first == std::string::npos) return "";
  const auto last = text.find_last_not_of(" \t\r");
  return text.substr(first, last - first + 1);
}

}  // namespace

std::map<std::string, std::string> ParseDetails(const std::string& output) {
  std::map<std::string, std::string> details;
  std::istringstream in(output);
  std::string line, section;
  while (std::getline(in, line)) {
    line = Trim(line);
    if (line.size() > 2 && line.front() == '[' && line.back() == ']') {
      section = line.substr(1, line.size() - 2);
      continue;
    }
    const auto equals = line.find(" = ");
    if (equals == std::string::npos) continue;
    std::string value = Trim(line.substr(equals + 3));
    if (value == "(null)") value.clear();
    details[section + "." + Trim(line.substr(0, equals))] = value;
  }
  return details;
}

ADClientStatus ClassifyFailure(const std::string& errors) {
  // Kerberos' own texts, as adcli passes them on.
  if (Contains(errors, "Preauthentication failed") ||
      Contains(errors, "Password incorrect") ||
      Contains(errors, "not found in Kerberos database") ||
      Contains(errors, "Invalid credentials")) {
    return ADCLIENT_STATUS_LOGON_FAILURE;
  }
  if (Contains(errors, "credentials have been revoked")) {
    return kStatusAccountLockedOut;
  }
  if (Contains(errors, "Password has expired")) return kStatusPasswordExpired;
  if (Contains(errors, "Clock skew too great")) return kStatusTimeSkew;
  if (Contains(errors, "Couldn't find usable domain controller") ||
      Contains(errors, "Cannot contact any KDC") ||
      Contains(errors, "Couldn't connect to host")) {
    return kStatusNoLogonServers;
  }
  if (Contains(errors, "organizational unit does not exist")) {
    return kStatusDirectory;
  }
  if (Contains(errors, "Couldn't add keytab entries") ||
      Contains(errors, "Insufficient permissions") ||
      Contains(errors, "Insufficient access")) {
    return ADCLIENT_STATUS_ACCESS_DENIED;
  }
  return kStatusInternalError;
}

bool FailedAfterAccountChange(const std::string& errors) {
  return Contains(errors, "Couldn't add keytab entries") ||
         Contains(errors, "Couldn't remove old keytab entries") ||
         Contains(errors, "Couldn't set password for computer account") ||
         Contains(errors, "Couldn't update computer account");
}

}  // namespace quarryadcli
