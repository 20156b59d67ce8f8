// The one exception of the host control library.
#ifndef TESSELCTL_HOSTCTLEXCEPTION_H
#define TESSELCTL_HOSTCTLEXCEPTION_H

#include <exception>
#include <string>

#include "Export.h"

namespace HostCtl {
namespace Lib {

class TESSELCTL_EXPORT HostCtlException : public std::exception {
 public:
  explicit HostCtlException(const std::string& message);
  ~HostCtlException() override;
  const char* what() const noexcept override;

 private:
  std::string message;
};

}  // namespace Lib
}  // namespace HostCtl

#endif
