#include "SystemFile.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>

#include "ExitStatus.h"
#include "common/DurableFile.h"

namespace quarryauthctl {

std::string ReadSystemFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    throw Failure("cannot read '" + path + "': " + std::strerror(errno));
  }
  std::ostringstream text;
  text << in.rdbuf();
  if (in.bad()) throw Failure("cannot read '" + path + "'");
  return text.str();
}

void ReplaceSystemFile(const std::string& path, const std::string& text) {
  // A file that did not exist is readable by root only, until the caller
  // says otherwise.
  if (quarry::common::ReplaceFileContents(path, text, 0600) != 0) {
    throw Failure("cannot write '" + path + "'; it is left as it was");
  }
}

}  // namespace quarryauthctl
