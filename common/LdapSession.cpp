#include "common/LdapSession.h"

#include <gssapi/gssapi.h>
#include <gssapi/gssapi_krb5.h>
#include <sasl/sasl.h>

#include <cstring>

namespace quarry::common {

namespace {

// The SASL strength that GSSAPI's confidentiality layer gives; asking for
// it makes the bind fail rather than fall back to integrity only.
const ber_len_t kSealedStrength = 56;

// Points this thread's default Kerberos credential cache at the caller's
// while the SASL GSSAPI mechanism (which takes no credentials of its own)
// binds, and puts the previous one back afterwards. The setting is per
// thread, so concurrent binds with different caches do not meet.
class ThreadCredentialCache {
 public:
  explicit ThreadCredentialCache(const std::string& name) {
    OM_uint32 minor = 0;
    const char* previous = nullptr;
    active_ = gss_krb5_ccache_name(&minor, name.c_str(), &previous) ==
              GSS_S_COMPLETE;
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

// GSSAPI asks for nothing interactively when the credentials are given.
int NoInteraction(LDAP*, unsigned, void*, void* prompts) {
  for (auto* prompt = static_cast<sasl_interact_t*>(prompts);
       prompt != nullptr && prompt->id != SASL_CB_LIST_END; ++prompt) {
    prompt->result = prompt->defresult;
    prompt->len = prompt->defresult ? std::strlen(prompt->defresult) : 0;
  }
  return LDAP_SUCCESS;
}

timeval TimeValue(std::chrono::milliseconds duration) {
  if (duration.count() < 1) duration = std::chrono::milliseconds(1);
  return timeval{static_cast<time_t>(duration.count() / 1000),
                 static_cast<suseconds_t>(duration.count() % 1000 * 1000)};
}

}  // namespace

LdapConnection::~LdapConnection() {
  if (ldap_ != nullptr) ldap_unbind_ext_s(ldap_, nullptr, nullptr);
}

LdapMessage::~LdapMessage() {
  if (message_ != nullptr) ldap_msgfree(message_);
}

int BindWithKerberos(const std::string& controller,
                     const std::string& credentialCache,
                     Protection protection, std::chrono::milliseconds timeout,
                     LdapConnection& connection) {
  const std::string uri = "ldap://" + controller;
  const int initialised = ldap_initialize(connection.out(), uri.c_str());
  if (initialised != LDAP_SUCCESS) return initialised;
  LDAP* ldap = connection.get();
  const int version = LDAP_VERSION3;
  ldap_set_option(ldap, LDAP_OPT_PROTOCOL_VERSION, &version);
  ldap_set_option(ldap, LDAP_OPT_REFERRALS, LDAP_OPT_OFF);
  const timeval limit = TimeValue(timeout);
  ldap_set_option(ldap, LDAP_OPT_NETWORK_TIMEOUT, &limit);
  ldap_set_option(ldap, LDAP_OPT_TIMEOUT, &limit);
  // The controller's name came from DNS or the configuration already.
  ldap_set_option(ldap, LDAP_OPT_X_SASL_NOCANON, LDAP_OPT_ON);
  if (protection == Protection::Sealed) {
    ber_len_t strength = kSealedStrength;
    ldap_set_option(ldap, LDAP_OPT_X_SASL_SSF_MIN, &strength);
  }
  ThreadCredentialCache cache(credentialCache);
  return ldap_sasl_interactive_bind_s(ldap, nullptr, "GSSAPI", nullptr,
                                      nullptr, LDAP_SASL_QUIET, NoInteraction,
                                      nullptr);
}

std::vector<std::string> AttributeValues(LDAP* ldap, LDAPMessage* entry,
                                         const char* attribute) {
  berval** values = ldap_get_values_len(ldap, entry, attribute);
  std::vector<std::string> texts;
  for (berval** value = values; value != nullptr && *value != nullptr;
       ++value) {
    texts.emplace_back((*value)->bv_val, (*value)->bv_len);
  }
  ldap_value_free_len(values);
  return texts;
}

std::string FirstValue(LDAP* ldap, LDAPMessage* entry, const char* attribute) {
  const std::vector<std::string> values = AttributeValues(ldap, entry, attribute);
  return values.empty() ? std::string() : values.front();
}

std::string FilterValue(const std::string& value) {
  std::string escaped;
  for (const unsigned char c : value) {
    if (c == '*' || c == '(' || c == ')' || c == '\\' || c == '\0') {
      static const char kHex[] = "0123456789abcdef";
      escaped += '\\';
      escaped += kHex[c >> 4];
      escaped += kHex[c & 15];
    } else {
      escaped += static_cast<char>(c);
    }
  }
  return escaped;
}

}  // namespace quarry::common
