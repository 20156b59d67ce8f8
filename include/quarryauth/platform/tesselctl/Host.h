// The host this process runs on, as the host control library sees it.
#ifndef TESSELCTL_HOST_H
#define TESSELCTL_HOST_H

#include <memory>

#include "AdvancedOptions.h"
#include "Export.h"

namespace HostCtl {

class TESSELCTL_EXPORT Host {
 public:
  Host();
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;
  ~Host();

  // The advanced options as configured now (read on every call, so that a
  // changed file is seen). Throws Lib::HostCtlException as
  // Adv::AdvancedOptions::Load does.
  std::shared_ptr<Adv::AdvancedOptions> GetAdvancedOptions() const;
};

}  // namespace HostCtl

#endif
