#include "common/DistinguishedName.h"

#include <unistd.h>

#include <sstream>

#include "common/PluginText.h"

namespace quarry::plugin {


std::vector<std::string> SplitRelativeNames(const std::string& dn) {
  std::vector<std::string> parts(1);
  for (std::string::size_type i = 0; i < dn.size(); ++i) {
    if (dn[i] == '\\' && i + 1 < dn.size()) {
      parts.back() += dn.substr(i, 2);
      ++i;
    } else if (dn[i] == ',') {
      parts.emplace_back();
    } else {
      parts.back() += dn[i];
    }
  }
  return parts;
}

std::string DomainComponents(const std::string& domain) {
  std::istringstream labels(domain);
  std::string dn, label;
  while (std::getline(labels, label, '.')) {
    if (!label.empty()) dn += (dn.empty() ? "DC=" : ",DC=") + label;
  }
  return dn;
}

std::string ContainerDN(const std::string& organizationalUnit,
                        const std::string& domain) {
  const std::string components = DomainComponents(domain);
  if (organizationalUnit.empty()) return "CN=Computers," + components;
  if (organizationalUnit.find('=') != std::string::npos) {
    if (ToUpper(organizationalUnit).find("DC=") != std::string::npos) {
      return organizationalUnit;
    }
    return organizationalUnit + "," + components;
  }
  std::istringstream path(organizationalUnit);
  std::string dn = components, unit;
  while (std::getline(path, unit, '/')) {
    if (!unit.empty()) dn = "OU=" + unit + "," + dn;
  }
  return dn;
}

std::string MachineAccountDN(const std::string& hostShortName,
                             const std::string& organizationalUnit,
                             const std::string& domain) {
  return "CN=" + ToUpper(hostShortName) + "," +
         ContainerDN(organizationalUnit, domain);
}

std::string ShortHostName() {
  char name[256] = {0};
  if (::gethostname(name, sizeof name - 1) != 0) return "UNKNOWN";
  const std::string host = name;
  return host.substr(0, host.find('.'));
}

}  // namespace quarry::plugin
