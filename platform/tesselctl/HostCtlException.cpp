#include <quarryauth/platform/tesselctl/HostCtlException.h>

namespace HostCtl {
namespace Lib {

HostCtlException::HostCtlException(const std::string& message)
    : message(message) {}
HostCtlException::~HostCtlException() = default;
const char* HostCtlException::what() const noexcept { return message.c_str(); }

}  // namespace Lib
}  // namespace HostCtl
