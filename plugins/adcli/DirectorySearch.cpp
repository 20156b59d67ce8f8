#include "DirectorySearch.h"

#include <gssapi/gssapi.h>
#include <gssapi/gssapi_ext.h>
#include <gssapi/gssapi_krb5.h>
#include <ldap.h>
#include <sasl/sasl.h>
#include <sys/stat.h>
#include <syslog.h>

#include <cstring>

#include <DistinguishedName.h>
#include <PluginText.h>

#include "AdcliOutput.h"
#include "DomainControllers.h"

namespace quarryadcli {

const char* const kKeytabPath = "/etc/krb5.keytab";

namespace {

const int kNetworkTimeoutSeconds = 5;
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

// Points this thread's default Kerberos credential cache at ours while the
// SASL GSSAPI mechanism (which takes no credentials of its own) binds, and
// puts the previous one back afterwards. The setting is per thread.
class ThreadCredentialCache {
 public:
  explicit ThreadCredentialCache(const char* name) {
    OM_uint32 minor = 0;
    const char* previous = nullptr;
    active_ = gss_krb5_ccache_name(&minor, name, &previous) == GSS_S_COMPLETE;
    if (previous != nullptr) {
      previous_ = previous;
      hadPrevious_ = true;
    }
  }
  ~ThreadCredentialCache() {
    OM_uint32 minor = 0;
    if (active_) {
      gss_krb5_ccache_name(&minor, hadPrevious_ ? previous_.c_str() : nullptr,
                           nullptr);
    }
  }
  ThreadCredentialCache(const ThreadCredentialCache&) = delete;
  ThreadCredentialCache& operator=(const ThreadCredentialCache&) = delete;

 private:
  bool active_ = false;
  bool hadPrevious_ = false;
  std::string previous_;
};

class LdapConnection {
 public:
  ~LdapConnection() {
    if (ldap_ != nullptr) ldap_unbind_ext_s(ldap_, nullptr, nullptr);
  }
  LDAP** out() { return &ldap_; }
  LDAP* get() const { return ldap_; }

 private:
  LDAP* ldap_ = nullptr;
};

class LdapMessage {
 public:
  ~LdapMessage() {
    if (message_ != nullptr) ldap_msgfree(message_);
  }
  LDAPMessage** out() { return &message_; }
  LDAPMessage* get() const { return message_; }

 private:
  LDAPMessage* message_ = nullptr;
};

// GSSAPI asks for nothing interactively when the credentials are given.
int NoInteraction(LDAP*, unsigned, void*, void* prompts) {
  for (auto* prompt = static_cast<sasl_interact_t*>(prompts);
       prompt != nullptr && prompt->id != SASL_CB_LIST_END; ++prompt) {
    prompt->result = prompt->defresult;
    prompt->len = prompt->defresult ? std::strlen(prompt->defresult) : 0;
  }
  return LDAP_SUCCESS;
}

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
  const std::string uri = "ldap://" + controller;
  if (ldap_initialize(connection.out(), uri.c_str()) != LDAP_SUCCESS) {
    return kStatusInternalError;
  }
  LDAP* ldap = connection.get();
  const int version = LDAP_VERSION3;
  ldap_set_option(ldap, LDAP_OPT_PROTOCOL_VERSION, &version);
  ldap_set_option(ldap, LDAP_OPT_REFERRALS, LDAP_OPT_OFF);
  timeval network = {kNetworkTimeoutSeconds, 0};
  ldap_set_option(ldap, LDAP_OPT_NETWORK_TIMEOUT, &network);
  timeval whole = {kSearchTimeoutSeconds, 0};
  ldap_set_option(ldap, LDAP_OPT_TIMEOUT, &whole);
  // The controller's name came from DNS already; no reverse lookups.
  ldap_set_option(ldap, LDAP_OPT_X_SASL_NOCANON, LDAP_OPT_ON);
  (void)credentials;  // acquired into kCredentialCache, used from there
  ThreadCredentialCache cache(kCredentialCache);
  const int error = ldap_sasl_interactive_bind_s(
      ldap, nullptr, "GSSAPI", nullptr, nullptr, LDAP_SASL_QUIET,
      NoInteraction, nullptr);
  if (error != LDAP_SUCCESS) {
    syslog(LOG_ERR, "quarryadcli: LDAP bind to %s failed: %s",
           controller.c_str(), ldap_err2string(error));
  }
  return StatusOfLdapError(error);
}

std::string FirstValue(LDAP* ldap, LDAPMessage* entry, const char* attribute) {
  berval** values = ldap_get_values_len(ldap, entry, attribute);
  std::string value;
  if (values != nullptr && values[0] != nullptr) {
    value.assign(values[0]->bv_val, values[0]->bv_len);
  }
  ldap_value_free_len(values);
  return value;
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
  FindDomainControllers(membership.domain, found);
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
