#include <quarryauth/authentication/Configuration.h>

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>

#include <quarryauth/authentication/AtomicFileStream.h>
#include <quarryauth/authentication/Exception.h>
#include "common/KeyValueFormat.h"

namespace quarry {
namespace authentication {

namespace {

std::string UnableToOpen(const std::string& path, int error) {
  return "Unable to open '" + path + "': " + std::strerror(error);
}

}  // namespace

Configuration::Configuration(const std::string& path) : path(path) {
  std::ifstream in(path.c_str());
  if (!in.is_open()) throw IOError(UnableToOpen(path, errno));
  int failedLine = 0;
  const common::KeyValueError error =
      common::ReadKeyValueStream(in, *this, failedLine);
  if (error != common::KeyValueError::None) {
    throw ConfigurationError(common::KeyValueErrorMessage(error, failedLine));
  }
  // A read error (a directory, an I/O failure) must not pass for a short file.
  if (in.bad()) throw IOError(UnableToOpen(path, errno != 0 ? errno : EIO));
}

Configuration::~Configuration() = default;

std::string& Configuration::operator[](const std::string& key) {
  return std::map<std::string, std::string>::operator[](key);
}

const std::string& Configuration::operator[](const std::string& key) const {
  const const_iterator found = find(key);
  if (found == end()) throw InvalidKeyException(key);
  return found->second;
}

void Configuration::Write() const {
  AtomicFileStream out(path.c_str());
  for (const value_type& pair : *this) {
    common::WriteKeyValueLine(out, pair.first, pair.second);
    out.flush();
  }
  // Never let a failed write (a full disk) replace the old file with a
  // truncated one: the old file stays and the caller hears of it.
  if (!out) {
    const int error = errno != 0 ? errno : EIO;
    out.close();
    ::unlink(out.TemporaryPath().c_str());
    throw IOError("Unable to write '" + path + "': " + std::strerror(error));
  }
  out.Commit();
}

std::pair<std::string, std::string> GetKeyValuePair(const std::string& line,
                                                    int lineNumber) {
  std::pair<std::string, std::string> pair;
  const common::KeyValueError error =
      common::ParseKeyValueLine(line, pair.first, pair.second);
  if (error != common::KeyValueError::None) {
    throw ConfigurationError(common::KeyValueErrorMessage(error, lineNumber));
  }
  return pair;
}

}  // namespace authentication
}  // namespace quarry
