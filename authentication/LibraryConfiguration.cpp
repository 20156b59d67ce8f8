#include <quarryauth/authentication/LibraryConfiguration.h>

namespace quarry {
namespace authentication {

AuthenticationConfiguration::AuthenticationConfiguration()
    : Configuration("/etc/quarry/quarryauth/authentication.conf") {}
AuthenticationConfiguration::~AuthenticationConfiguration() = default;

ProviderConfiguration::ProviderConfiguration()
    : Configuration("/etc/quarry/quarryauth/provider.conf") {}
ProviderConfiguration::~ProviderConfiguration() = default;

CAMProviderConfiguration::CAMProviderConfiguration()
    : Configuration("/etc/quarry/quarryauth/camprovider.conf") {}
CAMProviderConfiguration::~CAMProviderConfiguration() = default;

}  // namespace authentication
}  // namespace quarry
