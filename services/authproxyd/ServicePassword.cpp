#include "services/authproxyd/ServicePassword.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "services/authproxyd/ProxySettings.h"
#include "common/UniqueFd.h"

namespace quarry::authproxyd {

using common::UniqueFd;

std::string ReadServicePassword(const std::string& path) {
  const UniqueFd file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  struct stat status {};
  if (file.Get() < 0 || ::fstat(file.Get(), &status) != 0) {
    throw SettingsError("cannot read " + path + ": " + std::strerror(errno));
  }
  if ((status.st_mode & 077) != 0) {
    throw SettingsError(path + " can be read or written by others than its "
                        "owner; it must have mode 0600 or 0400");
  }
  std::string text;
  char buffer[512];
  ssize_t count;
  while ((count = ::read(file.Get(), buffer, sizeof buffer)) > 0 &&
         text.size() < 4096) {
    text.append(buffer, static_cast<std::size_t>(count));
  }
  if (count < 0) {
    throw SettingsError("cannot read " + path + ": " + std::strerror(errno));
  }
  const std::string password = text.substr(0, text.find('\n'));
  if (password.empty()) throw SettingsError(path + " holds no password");
  return password;
}

}  // namespace quarry::authproxyd
