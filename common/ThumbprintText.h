// The text form of certificate thumbprints, shared by the library, which
// records a proxy's thumbprint, and the proxy client plug-in, which checks a
// server against it: digest bytes as upper-case hexadecimal pairs joined by
// ':' (59 characters for SHA-1).
#ifndef QUARRY_COMMON_THUMBPRINTTEXT_H
#define QUARRY_COMMON_THUMBPRINTTEXT_H

#include <string>

namespace quarry::common {

std::string FormatThumbprint(const unsigned char* digest, unsigned int length);

}  // namespace quarry::common

#endif
