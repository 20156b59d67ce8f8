#include "authentication/Log.h"

#include <cstdarg>
#include <syslog.h>

namespace quarry {
namespace authentication {

void Log(int priority, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  vsyslog(priority, format, arguments);
  va_end(arguments);
}

}  // namespace authentication
}  // namespace quarry
