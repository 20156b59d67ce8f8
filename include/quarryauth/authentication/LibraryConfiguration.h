// The library's own settings files under /etc/quarry/quarryauth/.
#ifndef QUARRYAUTH_AUTHENTICATION_LIBRARYCONFIGURATION_H
#define QUARRYAUTH_AUTHENTICATION_LIBRARYCONFIGURATION_H

#include "Configuration.h"
#include "Export.h"

namespace quarry {
namespace authentication {

// "remote-authentication-store": the display name of the active store.
class QUARRYAUTH_EXPORT AuthenticationConfiguration : public Configuration {
 public:
  AuthenticationConfiguration();
  ~AuthenticationConfiguration() override;
};

// "provider": the directory client plug-in to load.
class QUARRYAUTH_EXPORT ProviderConfiguration : public Configuration {
 public:
  ProviderConfiguration();
  ~ProviderConfiguration() override;
};

// "provider": the authentication proxy client plug-in to load.
class QUARRYAUTH_EXPORT CAMProviderConfiguration : public Configuration {
 public:
  CAMProviderConfiguration();
  ~CAMProviderConfiguration() override;
};

}  // namespace authentication
}  // namespace quarry

#endif
