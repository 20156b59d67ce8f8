// The exit statuses of quarryauthctl (documented in quarryauthctl.8) and
// the errors that the commands raise besides the library's own.
#ifndef QUARRYAUTHCTL_EXITSTATUS_H
#define QUARRYAUTHCTL_EXITSTATUS_H

#include <stdexcept>

namespace quarryauthctl {

enum ExitStatus {
  kSuccess = 0,
  kFailure = 1,            // the command could not be done; see the message
  kUsage = 2,              // the command line is wrong
  kLibraryError = 3,       // the library raised an exception or refused
  kAnsweredFromCache = 4,  // a status query ran out of time: cached answer
  kNotJoined = 5,          // the host is not joined to a domain
};

// A wrong command line: exit status kUsage.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// A command that cannot be done for a reason of the tool's own: kFailure.
class Failure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// A file that the library's PAM or name-service model cannot read; it is
// left untouched. Exit status kLibraryError.
class ModelRefusal : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// A file that the library refused, named in the message: kLibraryError.
class FileRefusal : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace quarryauthctl

#endif
