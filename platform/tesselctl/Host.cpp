#include <quarryauth/platform/tesselctl/Host.h>

namespace HostCtl {

Host::Host() = default;

Host::~Host() = default;

std::shared_ptr<Adv::AdvancedOptions> Host::GetAdvancedOptions() const {
  return Adv::AdvancedOptions::Load();
}

}  // namespace HostCtl
