// A branch of the advanced option tree: named child branches and options.
#ifndef TESSELCTL_ADVANCEDOPTIONBRANCH_H
#define TESSELCTL_ADVANCEDOPTIONBRANCH_H

#include <map>
#include <memory>
#include <string>

#include "AdvancedOption.h"
#include "Export.h"

namespace HostCtl {
namespace Adv {

class TESSELCTL_EXPORT AdvancedOptionBranch {
 public:
  // The root branch has the empty name.
  explicit AdvancedOptionBranch(const std::string& name);
  AdvancedOptionBranch(const AdvancedOptionBranch&) = delete;
  AdvancedOptionBranch& operator=(const AdvancedOptionBranch&) = delete;
  ~AdvancedOptionBranch();

  const std::string& GetName() const;

  // Null when the branch has no child or option of that name.
  std::shared_ptr<AdvancedOptionBranch> GetChildBranch(
      const std::string& name) const;
  std::shared_ptr<AdvancedOption> GetOption(const std::string& name) const;

  // The child branch of that name, added when missing.
  std::shared_ptr<AdvancedOptionBranch> AddChildBranch(const std::string& name);
  // Adds or replaces the option of the same name.
  void AddOption(const std::shared_ptr<AdvancedOption>& option);

 private:
  std::string name_;
  std::map<std::string, std::shared_ptr<AdvancedOptionBranch>> children_;
  std::map<std::string, std::shared_ptr<AdvancedOption>> options_;
};

}  // namespace Adv
}  // namespace HostCtl

#endif
