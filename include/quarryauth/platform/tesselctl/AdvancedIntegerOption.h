// An advanced option whose value is a signed 64-bit integer.
#ifndef TESSELCTL_ADVANCEDINTEGEROPTION_H
#define TESSELCTL_ADVANCEDINTEGEROPTION_H

#include <cstdint>
#include <string>

#include "AdvancedOption.h"
#include "Export.h"

namespace HostCtl {
namespace Adv {

class TESSELCTL_EXPORT AdvancedIntegerOption : public AdvancedOption {
 public:
  AdvancedIntegerOption(const std::string& name, const std::string& path,
                        int64_t value, int64_t defaultValue);
  ~AdvancedIntegerOption() override;

  AdvancedOptionKind GetKind() const override;
  // The configured value, or the default when none is configured.
  int64_t GetIntValue() const;
  int64_t GetDefaultIntValue() const;

 private:
  int64_t value_;
  int64_t defaultValue_;
};

}  // namespace Adv
}  // namespace HostCtl

#endif
