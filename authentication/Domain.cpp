#include <quarryauth/authentication/Domain.h>

namespace quarry {
namespace authentication {

namespace {

const std::string& OrUnset(const std::string& name) {
  static const std::string unset("(unset)");
  return name.empty() ? unset : name;
}

}  // namespace

Domain::Domain() = default;
Domain::Domain(const Domain& other) = default;
Domain::Domain(const std::string& dnsName, const std::string& netbiosName)
    : dnsName(dnsName), netbiosName(netbiosName) {}
Domain& Domain::operator=(const Domain& other) = default;
Domain::~Domain() = default;

bool Domain::operator==(const Domain& other) const {
  return dnsName == other.dnsName && netbiosName == other.netbiosName;
}

bool Domain::operator!=(const Domain& other) const {
  return !(*this == other);
}

std::ostream& operator<<(std::ostream& out, const Domain& domain) {
  return out << "DNS Name: " << OrUnset(domain.dnsName)
             << ", NetBIOS Name: " << OrUnset(domain.netbiosName);
}

}  // namespace authentication
}  // namespace quarry
