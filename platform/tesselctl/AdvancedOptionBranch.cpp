#include <quarryauth/platform/tesselctl/AdvancedOptionBranch.h>

namespace HostCtl {
namespace Adv {

AdvancedOptionBranch::AdvancedOptionBranch(const std::string& name)
    : name_(name) {}

AdvancedOptionBranch::~AdvancedOptionBranch() = default;

const std::string& AdvancedOptionBranch::GetName() const { return name_; }

std::shared_ptr<AdvancedOptionBranch> AdvancedOptionBranch::GetChildBranch(
    const std::string& name) const {
  const auto found = children_.find(name);
  return found == children_.end() ? nullptr : found->second;
}

std::shared_ptr<AdvancedOption> AdvancedOptionBranch::GetOption(
    const std::string& name) const {
  const auto found = options_.find(name);
  return found == options_.end() ? nullptr : found->second;
}

std::shared_ptr<AdvancedOptionBranch> AdvancedOptionBranch::AddChildBranch(
    const std::string& name) {
  std::shared_ptr<AdvancedOptionBranch>& child = children_[name];
  if (!child) child = std::make_shared<AdvancedOptionBranch>(name);
  return child;
}

void AdvancedOptionBranch::AddOption(
    const std::shared_ptr<AdvancedOption>& option) {
  options_[option->GetName()] = option;
}

}  // namespace Adv
}  // namespace HostCtl
