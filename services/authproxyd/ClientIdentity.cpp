#include "services/authproxyd/ClientIdentity.h"

#include <openssl/evp.h>
#include <openssl/x509v3.h>

#include <memory>

#include "common/OpenSslHandles.h"
#include "common/PluginText.h"
#include "common/ThumbprintText.h"
#include "services/authproxyd/HostNameRules.h"

namespace quarry::authproxyd {

namespace {

std::string Text(const ASN1_STRING* value) {
  if (value == nullptr) return std::string();
  return std::string(reinterpret_cast<const char*>(ASN1_STRING_get0_data(value)),
                     static_cast<std::size_t>(ASN1_STRING_length(value)));
}

std::string FirstDnsName(X509* certificate) {
  const quarry::common::GeneralNamesPointer names(
      static_cast<GENERAL_NAMES*>(X509_get_ext_d2i(
          certificate, NID_subject_alt_name, nullptr, nullptr)));
  if (!names) return std::string();
  for (int i = 0; i < sk_GENERAL_NAME_num(names.get()); ++i) {
    const GENERAL_NAME* name = sk_GENERAL_NAME_value(names.get(), i);
    if (name->type == GEN_DNS) return Text(name->d.dNSName);
  }
  return std::string();
}

std::string CommonName(X509* certificate) {
  X509_NAME* subject = X509_get_subject_name(certificate);
  const int index = X509_NAME_get_index_by_NID(subject, NID_commonName, -1);
  if (index < 0) return std::string();
  return Text(X509_NAME_ENTRY_get_data(X509_NAME_get_entry(subject, index)));
}

}  // namespace

std::string ClientIdentity::Describe() const {
  if (thumbprint.empty()) return address + " (no certificate)";
  return address + " (certificate " + thumbprint +
         (hostName.empty() ? ", not enrolled)" : " for " + hostName + ")");
}

std::string CertificateThumbprint(X509* certificate) {
  unsigned char digest[EVP_MAX_MD_SIZE];
  unsigned int length = 0;
  if (X509_digest(certificate, EVP_sha256(), digest, &length) != 1) {
    return std::string();
  }
  return common::FormatThumbprint(digest, length);
}

std::string IssuedHostName(X509* certificate) {
  std::string name = FirstDnsName(certificate);
  if (name.empty()) name = CommonName(certificate);
  name = plugin::ToLower(name);
  return IsValidHostName(name) ? name : std::string();
}

ClientIdentity IdentifyClient(const std::string& address, X509* certificate,
                              bool issuedByTrustedAuthority,
                              const Enrolment& enrolment) {
  ClientIdentity identity;
  identity.address = address;
  if (certificate == nullptr) return identity;
  identity.thumbprint = CertificateThumbprint(certificate);
  const auto enrolled = enrolment.find(identity.thumbprint);
  if (enrolled != enrolment.end()) {
    identity.hostName = plugin::ToLower(enrolled->second);
  } else if (issuedByTrustedAuthority) {
    identity.hostName = IssuedHostName(certificate);
  }
  return identity;
}

}  // namespace quarry::authproxyd
