// Entry point of the host control library.
#ifndef TESSELCTL_HOSTFACTORY_H
#define TESSELCTL_HOSTFACTORY_H

#include <memory>

#include "Export.h"
#include "Host.h"

namespace HostCtl {

class TESSELCTL_EXPORT HostFactory {
 public:
  // The local host. Never null.
  static std::shared_ptr<Host> GetHost();
};

}  // namespace HostCtl

#endif
