// Who is asking: the client's address, the SHA-256 thumbprint of the
// certificate it presented over mutual TLS, and the one host name that the
// certificate stands for: the name it was enrolled for, or, for a
// certificate issued by an authority that the settings trust, the name it
// was issued for. A request may concern that host only.
#ifndef QUARRY_AUTHPROXYD_CLIENTIDENTITY_H
#define QUARRY_AUTHPROXYD_CLIENTIDENTITY_H

#include <openssl/x509.h>

#include <string>

#include "services/authproxyd/Enrolment.h"

namespace quarry::authproxyd {

struct ClientIdentity {
  std::string address;
  std::string thumbprint;  // empty: no certificate was presented
  std::string hostName;    // empty: the certificate stands for no host

  // For log lines: "192.0.2.7 (certificate AB:...:EF for node1.ad.test)".
  std::string Describe() const;
};

// The certificate's SHA-256 thumbprint, upper-case pairs joined by ":".
std::string CertificateThumbprint(X509* certificate);

// The host name a certificate was issued for: its first DNS subject
// alternative name, else its common name; lower case; empty when neither
// is a host name.
std::string IssuedHostName(X509* certificate);

// certificate may be null; issuedByTrustedAuthority says whether its chain
// was verified against the settings' client-ca-file.
ClientIdentity IdentifyClient(const std::string& address, X509* certificate,
                              bool issuedByTrustedAuthority,
                              const Enrolment& enrolment);

}  // namespace quarry::authproxyd

#endif
