#include "common/PrivateFolder.h"

#include <sys/stat.h>

#include <cerrno>

#include "common/DurableFile.h"

namespace quarry::common {

int CreatePrivateFolder(const char* path) {
  if (::mkdir(path, 0700) != 0) return errno == EEXIST ? 0 : errno;
  // mkdir applied the umask, which can only have taken bits away; chmod
  // makes the mode exact either way.
  if (::chmod(path, 0700) != 0) return errno;
  // Best effort: a folder lost in a crash is simply created again.
  SyncParentDirectory(path);
  return 0;
}

}  // namespace quarry::common
