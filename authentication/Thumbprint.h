// Certificate thumbprints: the SHA-1 digest of a certificate as upper-case
// hexadecimal byte pairs joined by ':' (59 characters).
#ifndef QUARRYAUTH_AUTHENTICATION_THUMBPRINT_H
#define QUARRYAUTH_AUTHENTICATION_THUMBPRINT_H

#include <string>

namespace quarry {
namespace authentication {

// The thumbprint of the first PEM certificate in pem. Throws
// InvalidCertificateException when no certificate can be read or digested.
std::string ComputeThumbprint(const std::string& pem);

}  // namespace authentication
}  // namespace quarry

#endif
