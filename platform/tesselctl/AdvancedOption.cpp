#include <quarryauth/platform/tesselctl/AdvancedOption.h>

namespace HostCtl {
namespace Adv {

AdvancedOption::AdvancedOption(const std::string& name, const std::string& path)
    : name_(name), path_(path) {}

AdvancedOption::~AdvancedOption() = default;

const std::string& AdvancedOption::GetName() const { return name_; }

const std::string& AdvancedOption::GetPath() const { return path_; }

}  // namespace Adv
}  // namespace HostCtl
