// The host's own key and certificate, which the quarrycam plug-in presents
// to the authentication proxy (that serves enrolled hosts only): made here
// with OpenSSL, at the paths that /etc/quarry/quarrycam.conf names.
#ifndef QUARRYAUTHCTL_HOSTCERTIFICATE_H
#define QUARRYAUTHCTL_HOSTCERTIFICATE_H

#include <string>

#include "common/HostCertificateFiles.h"

namespace quarryauthctl {

struct HostCertificatePaths {
  std::string certificate = quarry::common::kDefaultHostCertificate;
  std::string key = quarry::common::kDefaultHostKey;
  std::string request;  // beside the certificate, with suffix ".csr"
};

// From quarrycam.conf's certificate-file and key-file, else the defaults;
// the request goes beside the certificate.
HostCertificatePaths ReadHostCertificatePaths();

// Loads the key, or creates an EC P-256 key readable by root only when
// there is none. Returns true when it created one. Throws Failure.
bool EnsureHostKey(const std::string& path);

// Writes a self-signed certificate for hostName (common name and DNS
// subject alternative name, client authentication), valid for days.
void WriteSelfSignedCertificate(const HostCertificatePaths& paths,
                                const std::string& hostName, int days);

// Writes a certificate request for hostName, for an authority to sign.
void WriteCertificateRequest(const HostCertificatePaths& paths,
                             const std::string& hostName);

// The certificate file's SHA-256 thumbprint, as the proxy enrols it.
std::string HostCertificateThumbprint(const std::string& path);

}  // namespace quarryauthctl

#endif
