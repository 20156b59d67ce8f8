// An LDAP connection to a domain controller, bound with SASL GSSAPI from
// Kerberos credentials that the caller keeps in a credential cache of its
// own. Shared by the directory plug-in (the host's machine account) and the
// authentication proxy (its service account).
#ifndef QUARRY_COMMON_LDAPSESSION_H
#define QUARRY_COMMON_LDAPSESSION_H

#include <ldap.h>

#include <chrono>
#include <string>
#include <vector>

namespace quarry::common {

// Owns an LDAP handle; unbinds it on destruction.
class LdapConnection {
 public:
  LdapConnection() = default;
  ~LdapConnection();
  LdapConnection(const LdapConnection&) = delete;
  LdapConnection& operator=(const LdapConnection&) = delete;
  LDAP** out() { return &ldap_; }
  LDAP* get() const { return ldap_; }

 private:
  LDAP* ldap_ = nullptr;
};

// Owns a search result; frees it on destruction.
class LdapMessage {
 public:
  LdapMessage() = default;
  ~LdapMessage();
  LdapMessage(const LdapMessage&) = delete;
  LdapMessage& operator=(const LdapMessage&) = delete;
  LDAPMessage** out() { return &message_; }
  LDAPMessage* get() const { return message_; }

 private:
  LDAPMessage* message_ = nullptr;
};

enum class Protection {
  Signed,  // integrity only
  Sealed,  // integrity and confidentiality, which the directory demands
           // before it accepts a password
};

// Connects to ldap://controller (a host name as DNS gave it: the service
// principal is ldap/<controller>, never canonicalised) and binds with the
// Kerberos credentials in credentialCache ("MEMORY:..."). Connecting and
// each later operation are bounded by timeout. Returns an LDAP result code.
int BindWithKerberos(const std::string& controller,
                     const std::string& credentialCache,
                     Protection protection, std::chrono::milliseconds timeout,
                     LdapConnection& connection);

// The values of attribute in entry, raw; empty when there are none.
std::vector<std::string> AttributeValues(LDAP* ldap, LDAPMessage* entry,
                                         const char* attribute);

// The first value of attribute in entry; empty when there is none.
std::string FirstValue(LDAP* ldap, LDAPMessage* entry, const char* attribute);

// value escaped for use inside a search filter (RFC 4515).
std::string FilterValue(const std::string& value);

}  // namespace quarry::common

#endif
