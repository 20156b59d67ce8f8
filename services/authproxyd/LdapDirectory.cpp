#include "services/authproxyd/LdapDirectory.h"

#include <cstdint>
#include <utility>
#include <vector>

#include "common/DistinguishedName.h"
#include "common/PluginText.h"
#include "common/DomainControllers.h"
#include "services/authproxyd/AccountRules.h"

namespace quarry::authproxyd {

namespace {

// A workstation's account, enabled (userAccountControl).
const char kWorkstationTrustAccount[] = "4096";
// A move keeps no second value of the relative name.
const int kDeleteOldName = 1;

// The directory takes a password as the UTF-16LE text of the password in
// double quotes. Ours are ASCII.
std::string UnicodePassword(const std::string& password) {
  std::string encoded;
  for (const char c : "\"" + password + "\"") {
    encoded += c;
    encoded += '\0';
  }
  return encoded;
}

// One attribute of an add or modify, its values kept alive beside the
// structures that point at them.
class Modification {
 public:
  Modification(int operation, const char* type, std::vector<std::string> values)
      : type_(type), values_(std::move(values)) {
    for (std::string& value : values_) {
      berval entry = {static_cast<ber_len_t>(value.size()), value.data()};
      bervals_.push_back(entry);
    }
    for (berval& entry : bervals_) pointers_.push_back(&entry);
    pointers_.push_back(nullptr);
    modification_.mod_op = operation | LDAP_MOD_BVALUES;
    modification_.mod_type = type_.data();
    modification_.mod_bvalues = pointers_.data();
  }
  Modification(const Modification&) = delete;
  Modification& operator=(const Modification&) = delete;
  LDAPMod* get() { return &modification_; }

 private:
  std::string type_;
  std::vector<std::string> values_;
  std::vector<berval> bervals_;
  std::vector<berval*> pointers_;
  LDAPMod modification_ = {};
};

// The null-terminated array that ldap_add and ldap_modify take.
std::vector<LDAPMod*> ModificationArray(
    std::vector<std::unique_ptr<Modification>>& modifications) {
  std::vector<LDAPMod*> array;
  for (auto& modification : modifications) array.push_back(modification->get());
  array.push_back(nullptr);
  return array;
}

std::string DiagnosticOf(LDAP* ldap) {
  char* message = nullptr;
  ldap_get_option(ldap, LDAP_OPT_DIAGNOSTIC_MESSAGE, &message);
  std::string text = message != nullptr ? message : "";
  ldap_memfree(message);
  return text;
}

bool IsUnanswered(int error) {
  return error == LDAP_TIMEOUT || error == LDAP_TIMELIMIT_EXCEEDED ||
         error == LDAP_SERVER_DOWN || error == LDAP_CONNECT_ERROR;
}

}  // namespace

std::string SidText(const std::string& binary) {
  const auto byte = [&binary](std::size_t i) {
    return static_cast<std::uint8_t>(binary[i]);
  };
  if (binary.size() < 8 || byte(0) != 1) return std::string();
  const std::size_t count = byte(1);
  if (binary.size() != 8 + 4 * count) return std::string();
  std::uint64_t authority = 0;
  for (std::size_t i = 2; i < 8; ++i) authority = authority << 8 | byte(i);
  std::string text = "S-1-" + std::to_string(authority);
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t at = 8 + 4 * i;
    const std::uint32_t part = byte(at) | byte(at + 1) << 8 |
                               byte(at + 2) << 16 |
                               static_cast<std::uint32_t>(byte(at + 3)) << 24;
    text += "-" + std::to_string(part);
  }
  return text;
}

LdapDirectory::LdapDirectory(const ProxySettings& settings,
                             std::shared_ptr<const ServiceLogin> login,
                             Clock::time_point deadline)
    : settings_(settings),
      deadline_(deadline),
      login_(std::move(login)),
      domainDN_(plugin::DomainComponents(settings.domain)) {
  Connect();
}

void LdapDirectory::Connect() {
  std::vector<std::string> controllers;
  if (!settings_.domainController.empty()) {
    controllers.push_back(settings_.domainController);
  } else {
    common::FindDomainControllers(settings_.domain, controllers);
  }
  if (controllers.empty()) {
    throw DirectoryError("no domain controller of " + settings_.domain +
                             " is configured or named in DNS",
                         false);
  }
  int error = LDAP_SERVER_DOWN;
  for (const std::string& controller : controllers) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        deadline_ - Clock::now());
    if (left.count() <= 0) break;
    common::LdapConnection connection;
    error = common::BindWithKerberos(controller, login_->CacheName(),
                                     common::Protection::Sealed, left,
                                     connection);
    if (error == LDAP_SUCCESS) {
      controller_ = controller;
      std::swap(*connection_.out(), *connection.out());
      return;
    }
    if (!IsUnanswered(error)) {
      throw DirectoryError("cannot bind to " + controller + " as " +
                               settings_.serviceUser + ": " +
                               ldap_err2string(error),
                           false);
    }
  }
  throw DirectoryError("no domain controller of " + settings_.domain +
                           " answered in time: " + ldap_err2string(error),
                       true);
}

void LdapDirectory::LimitNextOperation() {
  const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
      deadline_ - Clock::now());
  if (left.count() <= 0) {
    throw DirectoryError(controller_ + " did not answer in time", true);
  }
  const timeval limit = {static_cast<time_t>(left.count() / 1000),
                         static_cast<suseconds_t>(left.count() % 1000 * 1000)};
  ldap_set_option(connection_.get(), LDAP_OPT_TIMEOUT, &limit);
}

void LdapDirectory::Fail(const std::string& what, int error) const {
  const std::string diagnostic = DiagnosticOf(connection_.get());
  throw DirectoryError(
      controller_ + " refused to " + what + ": " + ldap_err2string(error) +
          (diagnostic.empty() ? std::string() : " (" + diagnostic + ")"),
      IsUnanswered(error));
}

void LdapDirectory::Search(const std::string& base, int scope,
                           const std::string& filter, const char* attribute,
                           common::LdapMessage& result,
                           const std::string& what) {
  LimitNextOperation();
  std::string name = attribute;
  char* attributes[] = {name.data(), nullptr};
  const int error = ldap_search_ext_s(
      connection_.get(), base.c_str(), scope, filter.c_str(), attributes, 0,
      nullptr, nullptr, nullptr, LDAP_NO_LIMIT, result.out());
  if (error != LDAP_SUCCESS) Fail(what, error);
}

DomainIdentity LdapDirectory::Domain() {
  common::LdapMessage domain;
  Search(domainDN_, LDAP_SCOPE_BASE, "(objectClass=domain)", "objectSid",
         domain, "show the domain " + domainDN_);
  LDAP* ldap = connection_.get();
  LDAPMessage* entry = ldap_first_entry(ldap, domain.get());
  DomainIdentity identity;
  identity.dnsName = plugin::ToLower(settings_.domain);
  if (entry != nullptr) {
    identity.sid = SidText(common::FirstValue(ldap, entry, "objectSid"));
  }
  common::LdapMessage partitions;
  Search("CN=Partitions,CN=Configuration," + domainDN_, LDAP_SCOPE_ONELEVEL,
         "(&(objectClass=crossRef)(nCName=" + common::FilterValue(domainDN_) +
             "))",
         "nETBIOSName", partitions, "show the domain's partitions");
  entry = ldap_first_entry(ldap, partitions.get());
  if (entry != nullptr) {
    identity.netbiosName = common::FirstValue(ldap, entry, "nETBIOSName");
  }
  if (identity.sid.empty() || identity.netbiosName.empty()) {
    throw DirectoryError(controller_ + " did not show the SID and NetBIOS "
                                       "name of " + domainDN_,
                         false);
  }
  return identity;
}

std::string LdapDirectory::ServiceAccountDN() {
  const std::string user =
      settings_.serviceUser.substr(0, settings_.serviceUser.find('@'));
  common::LdapMessage result;
  Search(domainDN_, LDAP_SCOPE_SUBTREE,
         "(&(objectClass=user)(sAMAccountName=" + common::FilterValue(user) +
             "))",
         "1.1", result, "find the service account " + user);
  LDAP* ldap = connection_.get();
  LDAPMessage* entry = ldap_first_entry(ldap, result.get());
  char* dn = entry != nullptr ? ldap_get_dn(ldap, entry) : nullptr;
  if (dn == nullptr) {
    throw DirectoryError(controller_ + " shows no account " + user, false);
  }
  const std::string text = dn;
  ldap_memfree(dn);
  return text;
}

std::optional<ExistingComputer> LdapDirectory::FindComputer(
    const std::string& computerName) {
  common::LdapMessage result;
  Search(domainDN_, LDAP_SCOPE_SUBTREE,
         "(&(objectClass=computer)(sAMAccountName=" +
             common::FilterValue(computerName) + "$))",
         "managedBy", result, "look for the computer " + computerName);
  LDAP* ldap = connection_.get();
  LDAPMessage* entry = ldap_first_entry(ldap, result.get());
  if (entry == nullptr) return std::nullopt;
  char* dn = ldap_get_dn(ldap, entry);
  ExistingComputer computer;
  computer.dn = dn != nullptr ? dn : "";
  ldap_memfree(dn);
  computer.managedBy = common::FirstValue(ldap, entry, "managedBy");
  return computer;
}

void LdapDirectory::AddComputer(const NewComputer& computer) {
  const std::string& name = computer.computerName;
  const std::string& host = computer.hostName;
  std::vector<std::unique_ptr<Modification>> attributes;
  const auto add = [&attributes](const char* type,
                                 std::vector<std::string> values) {
    attributes.push_back(
        std::make_unique<Modification>(LDAP_MOD_ADD, type, std::move(values)));
  };
  add("objectClass", {"computer"});
  add("sAMAccountName", {name + "$"});
  add("userAccountControl", {kWorkstationTrustAccount});
  add("dNSHostName", {host});
  add("servicePrincipalName", {"HOST/" + name, "HOST/" + host,
                               "RestrictedKrbHost/" + name,
                               "RestrictedKrbHost/" + host});
  add("managedBy", {computer.managedBy});
  add("unicodePwd", {UnicodePassword(computer.password)});
  std::vector<LDAPMod*> array = ModificationArray(attributes);
  LimitNextOperation();
  const int error = ldap_add_ext_s(connection_.get(), computer.dn.c_str(),
                                   array.data(), nullptr, nullptr);
  if (error != LDAP_SUCCESS) Fail("create " + computer.dn, error);
}

std::string LdapDirectory::ResetComputer(const std::string& dn,
                                         const std::string& container,
                                         const std::string& password) {
  std::string current = dn;
  if (!IsSameDN(ParentDN(dn), container)) {
    const std::string relativeName = plugin::SplitRelativeNames(dn).front();
    LimitNextOperation();
    const int error = ldap_rename_s(connection_.get(), dn.c_str(),
                                    relativeName.c_str(), container.c_str(),
                                    kDeleteOldName, nullptr, nullptr);
    if (error != LDAP_SUCCESS) Fail("move " + dn + " to " + container, error);
    current = relativeName + "," + container;
  }
  std::vector<std::unique_ptr<Modification>> changes;
  changes.push_back(std::make_unique<Modification>(
      LDAP_MOD_REPLACE, "unicodePwd",
      std::vector<std::string>{UnicodePassword(password)}));
  changes.push_back(std::make_unique<Modification>(
      LDAP_MOD_REPLACE, "userAccountControl",
      std::vector<std::string>{kWorkstationTrustAccount}));
  std::vector<LDAPMod*> array = ModificationArray(changes);
  LimitNextOperation();
  const int error = ldap_modify_ext_s(connection_.get(), current.c_str(),
                                      array.data(), nullptr, nullptr);
  if (error != LDAP_SUCCESS) Fail("reset " + current, error);
  return current;
}

std::unique_ptr<AccountDirectory> LdapConnector::Open(
    Clock::time_point deadline) {
  return std::make_unique<LdapDirectory>(settings_, credentials_.Current(),
                                         deadline);
}

}  // namespace quarry::authproxyd
