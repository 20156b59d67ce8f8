#include "SystemFile.h"

#include <quarryauth/authentication.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>

#include "ExitStatus.h"

namespace quarryauthctl {

namespace qa = quarry::authentication;

namespace {

// Removes the stream's temporary file unless the stream was committed.
class UncommittedFileRemover {
 public:
  explicit UncommittedFileRemover(const qa::AtomicFileStream& stream)
      : stream(stream) {}
  ~UncommittedFileRemover() {
    if (!committed) ::unlink(stream.TemporaryPath().c_str());
  }
  UncommittedFileRemover(const UncommittedFileRemover&) = delete;
  UncommittedFileRemover& operator=(const UncommittedFileRemover&) = delete;

  void Committed() { committed = true; }

 private:
  const qa::AtomicFileStream& stream;
  bool committed = false;
};

}  // namespace

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
  qa::AtomicFileStream out(path.c_str());
  UncommittedFileRemover remover(out);
  out << text;
  out.flush();
  // Commit renames whatever was written, so a failed write stops here.
  if (!out) throw Failure("cannot write '" + path + "'; it is left as it was");
  out.Commit();
  remover.Committed();
}

}  // namespace quarryauthctl
