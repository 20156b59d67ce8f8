// One advanced option of the host: a named setting with a typed value.
// Callers find the value type through GetKind() or std::dynamic_pointer_cast.
#ifndef TESSELCTL_ADVANCEDOPTION_H
#define TESSELCTL_ADVANCEDOPTION_H

#include <string>

#include "Export.h"

namespace HostCtl {
namespace Adv {

enum class AdvancedOptionKind { Integer };

class TESSELCTL_EXPORT AdvancedOption {
 public:
  AdvancedOption(const AdvancedOption&) = delete;
  AdvancedOption& operator=(const AdvancedOption&) = delete;
  virtual ~AdvancedOption();

  // The option's own name within its branch, e.g.
  // "ActiveDirectoryVerifyCAMCertificate".
  const std::string& GetName() const;
  // The full dotted name, e.g. "UserVars.ActiveDirectoryVerifyCAMCertificate".
  const std::string& GetPath() const;
  virtual AdvancedOptionKind GetKind() const = 0;

 protected:
  AdvancedOption(const std::string& name, const std::string& path);

 private:
  std::string name_;
  std::string path_;
};

}  // namespace Adv
}  // namespace HostCtl

#endif
