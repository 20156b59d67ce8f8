#include "LibraryLog.h"

#include <syslog.h>

namespace quarryauthctl {

void OpenLibraryLog(bool verbose) {
  ::openlog("quarryauthctl", verbose ? LOG_PERROR : 0, LOG_USER);
}

}  // namespace quarryauthctl
