#include "DirectorySearch.h"

#include <gssapi/gssapi.h>
#include <gssapi/gssapi_ext.h>
#include <gssapi/gssapi_krb5.h>
#include <ldap.h>
#include <sys/stat.h>
#include <syslog.h>

#include <chrono>

#include "common/DistinguishedName.h"
#include "common/PluginText.h"

#include "AdcliOutput.h"
#include "common/DomainControllers.h"
#include "common/LdapSession.h"

namespace quarryadcli {

const char* const kKeytabPath = "/etc/krb5.keytab";

namespace {

using quarry::common::FirstValue;
using quarry::common::LdapConnection;
using quarry::common::LdapMessage;

const int kSearchTimeoutSeconds = 10;
// One credential cache for the process: tickets are reused until expiry.
const char* const kCredentialCache = "MEMORY:quarryadcli";

class GssName {
 public:
  explicit GssName(const std::string& principal) {
    OM_uint32 minor = 0;
    gss_buffer_desc text = {principal.size(),
                            const_cast<char*>(principal.data())};
    if (gss_import_name(&minor, &text, GSS_KRB5_NT_PRINCIPAL_NAME, &name_) !=
        GSS_S_COMPLETE) {
      name_ = GSS_C_NO_NAME;
    }
  }
  ~GssName() {
    OM_uint32 minor = 0;
    if (name_ != GSS_C_NO_NAME) gss_release_name(&minor, &name_);
  }
  GssName(const GssName&) = delete;
  GssName& operator=(const GssName&) = delete;
  gss_name_t get() const { return name_; }

 private:
  gss_name_t name_ = GSS_C_NO_NAME;
};

class GssCredentials {
 public:
  GssCredentials() = default;
  ~GssCredentials() {
    OM_uint32 minor = 0;
    if (credentials_ != GSS_C_NO_CREDENTIAL) {
      gss_release_cred(&minor, &credentials_);
    }
  }
  GssCredentials(const GssCredentials&) = delete;
  GssCredentials& operator=(const GssCredentials&) = delete;
  gss_cred_id_t* out() { return &credentials_; }
  gss_cred_id_t get() const { return credentials_; }

 private:
  gss_cred_id_t credentials_ = GSS_C_NO_CREDENTIAL;
};

ADClientStatus AcquireMachineCredentials(const Membership& membership,
                                         GssCredentials& credentials) {
  const std::string principal =
      membership.computerName + "$@" + membership.realm;
  GssName name(principal);
  if (name.get() == GSS_C_NO_NAME) return kStatusInternalError;
  gss_key_value_element_desc elements[] = {{"client_keytab", kKeytabPath},
                                           {"ccache", kCredentialCache}};
  gss_key_value_set_desc store = {2, elements};
  OM_uint32 minor = 0;
  const OM_uint32 major = gss_acquire_cred_from(
      &minor, name.get(), GSS_C_INDEFINITE, GSS_C_NO_OID_SET, GSS_C_INITIATE,
      &store, credentials.out(), nullptr, nullptr);
  if (major != GSS_S_COMPLETE) {
    syslog(LOG_ERR, "quarryadcli: no Kerberos credentials for %s",
           principal.c_str());
    return ADCLIENT_STATUS_LOGON_FAILURE;
  }
  return ADCLIENT_STATUS_SUCCESS;
}

ADClientStatus StatusOfLdapError(int error) {
  switch (error) {
    case LDAP_SUCCESS:
      return ADCLIENT_STATUS_SUCCESS;
    case LDAP_SERVER_DOWN:
    case LDAP_CONNECT_ERROR:
      return kStatusNoLogonServers;
    case LDAP_TIMEOUT:
    case LDAP_TIMELIMIT_EXCEEDED:
      return kStatusTimedOut;
    case LDAP_INVALID_CREDENTIALS:
    case LDAP_LOCAL_ERROR:
    case LDAP_INAPPROPRIATE_AUTH:
      return ADCLIENT_STATUS_LOGON_FAILURE;
    case LDAP_NO_MEMORY:
      return kStatusNotEnoughMemory;
    default:
      return kStatusInternalError;
  }
}

ADClientStatus Connect(const std::string& controller,
                       const GssCredentials& credentials,
                       LdapConnection& connection) {
  (void)credentials;  // acquired into kCredentialCache, used from there
  const int error = quarry::common::BindWithKerberos(
      controller, kCredentialCache, quarry::common::Protection::Signed,
      std::chrono::seconds(kSearchTimeoutSeconds), connection);
  if (error != LDAP_SUCCESS) {
    syslog(LOG_ERR, "quarryadcli: LDAP bind to %s failed: %s",
           controller.c_str(), ldap_err2string(error));
  }
  return StatusOfLdapError(error);
}

ADClientStatus SearchTrusts(
    LDAP* ldap, const std::string& domain,
    std::vector<std::pair<std::string, std::string>>& domains) {
  const std::string base =
      "CN=System," + quarry::plugin::DomainComponents(domain);
  char trustPartner[] = "trustPartner";
  char flatName[] = "flatName";
  char* attributes[] = {trustPartner, flatName, nullptr};
  timeval limit = {kSearchTimeoutSeconds, 0};
  LdapMessage result;
  const int error = ldap_search_ext_s(
      ldap, base.c_str(), LDAP_SCOPE_ONELEVEL, "(objectClass=trustedDomain)",
      attributes, 0, nullptr, nullptr, &limit, LDAP_NO_LIMIT, result.out());
  if (error != LDAP_SUCCESS) return StatusOfLdapError(error);
  for (LDAPMessage* entry = ldap_first_entry(ldap, result.get());
       entry != nullptr; entry = ldap_next_entry(ldap, entry)) {
    domains.emplace_back(FirstValue(ldap, entry, trustPartner),
                         FirstValue(ldap, entry, flatName));
  }
  return ADCLIENT_STATUS_SUCCESS;
}

}  // namespace

std::vector<std::string> ControllersToAsk(const Membership& membership) {
  std::vector<std::string> controllers = membership.preferredDomainControllers;
  std::vector<std::string> found;
  quarry::common::FindDomainControllers(membership.domain, found);
  controllers.insert(controllers.end(), found.begin(), found.end());
  if (!membership.domainController.empty()) {
    controllers.push_back(membership.domainController);
  }
  return controllers;
}

ADClientStatus SearchTrustedDomains(
    const Membership& membership,
    std::vector<std::pair<std::string, std::string>>& domains) {
  domains.clear();
  struct stat keytab;
  if (stat(kKeytabPath, &keytab) != 0) return ADCLIENT_STATUS_FILE_NOT_FOUND;
  GssCredentials credentials;
  ADClientStatus status = AcquireMachineCredentials(membership, credentials);
  if (status != ADCLIENT_STATUS_SUCCESS) return status;
  status = kStatusNoLogonServers;
  for (const auto& controller : ControllersToAsk(membership)) {
    LdapConnection connection;
    status = Connect(controller, credentials, connection);
    if (status == ADCLIENT_STATUS_SUCCESS) {
      return SearchTrusts(connection.get(), membership.domain, domains);
    }
    if (status != kStatusNoLogonServers && status != kStatusTimedOut) break;
  }
  return status;
}

}  // namespace quarryadcli
