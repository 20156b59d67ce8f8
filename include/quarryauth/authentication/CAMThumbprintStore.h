// Remembers which certificate thumbprint has been accepted for each
// authentication proxy, in a key-value file of the caller's choosing.
#ifndef QUARRYAUTH_AUTHENTICATION_CAMTHUMBPRINTSTORE_H
#define QUARRYAUTH_AUTHENTICATION_CAMTHUMBPRINTSTORE_H

#include <string>

#include "Configuration.h"
#include "Export.h"

namespace quarry {
namespace authentication {

class QUARRYAUTH_EXPORT CAMThumbprintStore : public Configuration {
 public:
  // Loads path; fails as Configuration does.
  explicit CAMThumbprintStore(const std::string& path);
  ~CAMThumbprintStore() override;

  // The stored thumbprint, or empty; never adds the key.
  std::string LookupThumbprint(const std::string& key) const;

  // Stores thumbprint under key and rewrites the file, unless the key
  // already holds exactly this text (then the file is left untouched).
  void ImportThumbprint(const std::string& thumbprint, const std::string& key);
};

}  // namespace authentication
}  // namespace quarry

#endif
