#include "common/FileContents.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "common/UniqueFd.h"

namespace quarry::common {

int ReadFileContents(const std::string& path, std::string& contents) {
  contents.clear();
  UniqueFd file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (!file.Valid()) return errno;
  char buffer[8192];
  for (;;) {
    const ssize_t count = ::read(file.Get(), buffer, sizeof buffer);
    if (count == 0) return 0;
    if (count < 0) {
      if (errno == EINTR) continue;
      const int error = errno;
      contents.clear();
      return error;
    }
    contents.append(buffer, static_cast<std::string::size_type>(count));
  }
}

}  // namespace quarry::common
