// A small settings file of key = "value" lines, loaded whole on
// construction and rewritten whole, atomically, by Write().
#ifndef QUARRYAUTH_AUTHENTICATION_CONFIGURATION_H
#define QUARRYAUTH_AUTHENTICATION_CONFIGURATION_H

#include <map>
#include <string>
#include <utility>

#include "Export.h"

namespace quarry {
namespace authentication {

class QUARRYAUTH_EXPORT Configuration
    : public std::map<std::string, std::string> {
 public:
  // Loads path. Throws IOError when it cannot be opened and
  // ConfigurationError on a malformed line.
  explicit Configuration(const std::string& path);
  virtual ~Configuration();

  // A missing key is inserted with the empty value.
  std::string& operator[](const std::string& key);
  // A missing key throws InvalidKeyException.
  const std::string& operator[](const std::string& key) const;

  // Rewrites the file from the map, keys sorted, values in double quotes.
  virtual void Write() const;

  const std::string& Path() const { return path; }

 private:
  std::string path;
};

// The (key, value) pair of one line; lineNumber only names the line in
// error messages.
QUARRYAUTH_EXPORT std::pair<std::string, std::string> GetKeyValuePair(
    const std::string& line, int lineNumber);

}  // namespace authentication
}  // namespace quarry

#endif
