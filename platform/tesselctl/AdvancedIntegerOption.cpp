#include <quarryauth/platform/tesselctl/AdvancedIntegerOption.h>

namespace HostCtl {
namespace Adv {

AdvancedIntegerOption::AdvancedIntegerOption(const std::string& name,
                                             const std::string& path,
                                             int64_t value,
                                             int64_t defaultValue)
    : AdvancedOption(name, path), value_(value), defaultValue_(defaultValue) {}

AdvancedIntegerOption::~AdvancedIntegerOption() = default;

AdvancedOptionKind AdvancedIntegerOption::GetKind() const {
  return AdvancedOptionKind::Integer;
}

int64_t AdvancedIntegerOption::GetIntValue() const { return value_; }

int64_t AdvancedIntegerOption::GetDefaultIntValue() const {
  return defaultValue_;
}

}  // namespace Adv
}  // namespace HostCtl
