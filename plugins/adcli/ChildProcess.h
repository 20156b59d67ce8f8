// Runs a helper program to completion with its input given and its output
// captured, and never waits longer than a deadline for it.
#ifndef QUARRYADCLI_CHILDPROCESS_H
#define QUARRYADCLI_CHILDPROCESS_H

#include <string>
#include <vector>

namespace quarryadcli {

struct ChildResult {
  bool started = false;   // false: the program could not be started
  bool timedOut = false;  // killed at the deadline
  int exitStatus = -1;    // exit code, or -1 when killed by a signal
  std::string output;
  std::string errors;
  int startError = 0;     // errno of a failed start
};

// Runs program (an absolute path) with arguments (argv[1] onwards), writes
// input to its standard input and closes it, and collects standard output
// and standard error. The child runs in a process group of its own with
// LC_ALL=C (its messages are parsed); at the deadline the whole group is
// killed. Safe to call from several threads.
ChildResult RunChild(const std::string& program,
                     const std::vector<std::string>& arguments,
                     const std::string& input, int timeoutSeconds);

}  // namespace quarryadcli

#endif
