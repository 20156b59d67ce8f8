// Runs a helper program (adcli, for the directory plug-in and the proxy
// service) to completion with its input given and its output captured, and
// never waits longer than a limit for it.
#ifndef QUARRY_COMMON_CHILDPROCESS_H
#define QUARRY_COMMON_CHILDPROCESS_H

#include <chrono>
#include <string>
#include <vector>

namespace quarry::common {

struct ChildResult {
  bool started = false;   // false: the program could not be started
  int startError = 0;     // errno of a failed start
  bool timedOut = false;  // killed, with its process group, at the limit
  int exitStatus = -1;    // exit code, or -1 when it did not exit by itself
  std::string output;     // standard output (up to 1 MiB)
  std::string errors;     // standard error, unless merged into output
};

enum class ChildErrors {
  Separate,    // standard error into ChildResult::errors
  IntoOutput,  // standard error into output, in the order written
};

// Runs arguments[0] (an absolute path, or a name searched for in PATH) with
// the rest as its arguments, writes input to its standard input and closes
// it. The child runs in a process group of its own, with default signal
// handling and LC_ALL=C (its messages are parsed). Safe on any thread, and
// whatever the host does with SIGCHLD (ignoring it included): the child
// signals nobody when it ends, and SIGPIPE is kept away from the caller.
ChildResult RunChild(const std::vector<std::string>& arguments,
                     const std::string& input, std::chrono::milliseconds limit,
                     ChildErrors errors = ChildErrors::Separate);

}  // namespace quarry::common

#endif
