#include "services/authproxyd/AdcliOutput.h"

#include <sstream>
#include <vector>

namespace quarry::authproxyd {

namespace {

std::vector<std::string> Lines(const std::string& output) {
  std::vector<std::string> lines;
  std::istringstream in(output);
  std::string line;
  while (std::getline(in, line)) lines.push_back(line);
  return lines;
}

bool StartsWith(const std::string& text, const std::string& prefix) {
  return text.compare(0, prefix.size(), prefix) == 0;
}

}  // namespace

std::string VerboseValue(const std::string& output, const std::string& label) {
  const std::string prefix = " * " + label;
  for (const std::string& line : Lines(output)) {
    if (!StartsWith(line, prefix)) continue;
    const std::string::size_type colon = line.find(": ", prefix.size());
    if (colon != std::string::npos) return line.substr(colon + 2);
  }
  return std::string();
}

std::optional<DomainIdentity> LookedUpDomain(const std::string& output,
                                             const std::string& dnsName) {
  DomainIdentity identity;
  identity.netbiosName = VerboseValue(output, "Looked up short domain name");
  identity.sid = VerboseValue(output, "Looked up domain SID");
  identity.dnsName = dnsName;
  if (identity.netbiosName.empty() || !StartsWith(identity.sid, "S-1-")) {
    return std::nullopt;
  }
  return identity;
}

std::string CreatedAccount(const std::string& output) {
  return VerboseValue(output, "Created computer account");
}

std::string FoundAccount(const std::string& output) {
  return VerboseValue(output, "Found computer account for ");
}

std::string AdcliFailure(const std::string& output) {
  std::string failure;
  std::string warning;
  for (const std::string& line : Lines(output)) {
    if (StartsWith(line, "adcli: ")) failure = line.substr(7);
    if (StartsWith(line, " ! ")) warning = line.substr(3);
  }
  if (!failure.empty()) return failure;
  if (!warning.empty()) return warning;
  return "adcli failed without saying why";
}

std::string ParentDN(const std::string& dn) {
  for (std::string::size_type i = 0; i < dn.size(); ++i) {
    if (dn[i] == '\\') {
      ++i;  // the escaped character
    } else if (dn[i] == ',') {
      return dn.substr(i + 1);
    }
  }
  return std::string();
}

}  // namespace quarry::authproxyd
