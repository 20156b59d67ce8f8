// An output file stream whose contents replace the target file only on
// Commit(), by renaming a temporary file beside it, so that readers see the
// old or the new file and never a half-written one.
#ifndef QUARRYAUTH_AUTHENTICATION_ATOMICFILESTREAM_H
#define QUARRYAUTH_AUTHENTICATION_ATOMICFILESTREAM_H

#include <fstream>
#include <ios>
#include <string>

#include "Export.h"

namespace quarry {
namespace authentication {

class QUARRYAUTH_EXPORT AtomicFileStream : public std::basic_ofstream<char> {
 public:
  explicit AtomicFileStream(const char* path,
                            std::ios_base::openmode mode = std::ios_base::out);
  // Closes the stream; an uncommitted temporary file stays on disk.
  ~AtomicFileStream() override;

  // Creates path + ".XXXXXX" and opens the stream on it. Throws IOError when
  // the temporary file cannot be created; a stream that cannot open it is
  // left in the fail state.
  void open(const char* path, std::ios_base::openmode mode = std::ios_base::out);

  // Closes the stream, flushes the temporary file to disk, renames it over
  // the target and gives it the old target's permission bits. Throws
  // IOError when the rename fails and FilePermissionError when the old mode
  // could not be read or restored (the file is replaced by then).
  void Commit();

  const std::string& TemporaryPath() const { return temporaryPath; }
  const std::string& TargetPath() const { return targetPath; }

 private:
  std::string temporaryPath;
  std::string targetPath;
};

}  // namespace authentication
}  // namespace quarry

#endif
