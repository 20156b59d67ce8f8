#include "SystemFile.h"

#include <cstring>

#include "ExitStatus.h"
#include "common/DurableFile.h"
#include "common/FileContents.h"

namespace quarryauthctl {

std::string ReadSystemFile(const std::string& path) {
  std::string text;
  if (const int error = quarry::common::ReadFileContents(path, text)) {
    throw Failure("cannot read '" + path + "': " + std::strerror(error));
  }
  return text;
}

void ReplaceSystemFile(const std::string& path, const std::string& text) {
  // A file that did not exist is readable by root only, until the caller
  // says otherwise.
  if (quarry::common::ReplaceFileContents(path, text, 0600) != 0) {
    throw Failure("cannot write '" + path + "'; it is left as it was");
  }
}

}  // namespace quarryauthctl
