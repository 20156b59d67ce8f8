// The host's advanced options as a tree of branches and options. Only
// declared options exist; each has its value from "/etc/quarry/advanced.conf"
// (one line per option, key = "value", the key being the option's dotted
// path) or else its default.
#ifndef TESSELCTL_ADVANCEDOPTIONS_H
#define TESSELCTL_ADVANCEDOPTIONS_H

#include <memory>
#include <string>

#include "AdvancedOption.h"
#include "AdvancedOptionBranch.h"
#include "Export.h"

namespace HostCtl {
namespace Adv {

class TESSELCTL_EXPORT AdvancedOptions {
 public:
  // Reads the options file now. A missing file or line gives the default; a
  // line for an option that is not declared is ignored. Throws
  // HostCtl::Lib::HostCtlException when the file cannot be read, is
  // malformed, or gives an integer option a value that is not an integer.
  static std::shared_ptr<AdvancedOptions> Load();

  explicit AdvancedOptions(const std::shared_ptr<AdvancedOptionBranch>& root);
  AdvancedOptions(const AdvancedOptions&) = delete;
  AdvancedOptions& operator=(const AdvancedOptions&) = delete;
  ~AdvancedOptions();

  std::shared_ptr<AdvancedOptionBranch> GetRootBranch() const;
  // The option at a dotted path such as
  // "UserVars.ActiveDirectoryVerifyCAMCertificate"; null when absent.
  std::shared_ptr<AdvancedOption> FindOption(const std::string& path) const;

 private:
  std::shared_ptr<AdvancedOptionBranch> root_;
};

}  // namespace Adv
}  // namespace HostCtl

#endif
