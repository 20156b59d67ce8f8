#include "platform/tesselctl/SettingsFile.h"

#include <cerrno>
#include <cstring>
#include <fstream>

#include "common/KeyValueFormat.h"
#include <quarryauth/platform/tesselctl/HostCtlException.h>

namespace TesselCtl {

namespace {

[[noreturn]] void ThrowUnreadable(const std::string& path,
                                  const std::string& reason) {
  throw HostCtl::Lib::HostCtlException("Unable to read '" + path +
                                       "': " + reason);
}

}  // namespace

bool ReadSettingsFile(const std::string& path,
                      std::map<std::string, std::string>& pairs) {
  errno = 0;
  std::ifstream in(path.c_str());
  if (!in.is_open()) {
    if (errno == ENOENT) return false;
    ThrowUnreadable(path, std::strerror(errno != 0 ? errno : EIO));
  }
  std::map<std::string, std::string> read;
  int failedLine = 0;
  const quarry::common::KeyValueError error =
      quarry::common::ReadKeyValueStream(in, read, failedLine);
  if (error != quarry::common::KeyValueError::None) {
    ThrowUnreadable(path,
                    quarry::common::KeyValueErrorMessage(error, failedLine));
  }
  // A directory or an I/O error must not pass for an empty file.
  if (in.bad()) ThrowUnreadable(path, std::strerror(errno != 0 ? errno : EIO));
  pairs.swap(read);
  return true;
}

}  // namespace TesselCtl
