// The host's own names, as the system and its resolver report them.
#ifndef QUARRYAUTH_AUTHENTICATION_HOSTNAMES_H
#define QUARRYAUTH_AUTHENTICATION_HOSTNAMES_H

#include <string>

namespace quarry {
namespace authentication {

// The host name (gethostname). Throws InvalidHostNameException "unable to
// get hostname" when it cannot be read or does not fit 64 bytes.
std::string SystemHostName();

// The resolver's official name for hostName (gethostbyname_r). Throws
// InvalidHostNameException with the resolver's text when the lookup fails
// and "hostname cannot be resolved" when it finds nothing.
std::string ResolveCanonicalName(const std::string& hostName);

// The name up to its first '.'; the whole name when it has none.
std::string ShortName(const std::string& name);

}  // namespace authentication
}  // namespace quarry

#endif
