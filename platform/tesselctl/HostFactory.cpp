#include <quarryauth/platform/tesselctl/HostFactory.h>

namespace HostCtl {

std::shared_ptr<Host> HostFactory::GetHost() {
  return std::make_shared<Host>();
}

}  // namespace HostCtl
