#include "authentication/HostNames.h"

#include <netdb.h>
#include <unistd.h>

#include <quarryauth/authentication/Exception.h>

namespace quarry {
namespace authentication {

namespace {

const std::size_t kHostNameBufferSize = 64;
const std::size_t kResolverBufferSize = 1024;

}  // namespace

std::string SystemHostName() {
  char name[kHostNameBufferSize];
  if (::gethostname(name, sizeof name) != 0) {
    throw InvalidHostNameException("unable to get hostname");
  }
  return name;
}

std::string ResolveCanonicalName(const std::string& hostName) {
  hostent entry;
  hostent* found = nullptr;
  char work[kResolverBufferSize];
  int resolverError = 0;
  if (::gethostbyname_r(hostName.c_str(), &entry, work, sizeof work, &found,
                        &resolverError) != 0) {
    throw InvalidHostNameException(::hstrerror(resolverError));
  }
  if (found == nullptr) {
    throw InvalidHostNameException("hostname cannot be resolved");
  }
  return entry.h_name;
}

std::string ShortName(const std::string& name) {
  return name.substr(0, name.find('.'));
}

}  // namespace authentication
}  // namespace quarry
