// Runs a helper program (adcli) with text on its standard input, collects
// what it prints, and kills it when it outlives its time limit.
#ifndef QUARRY_AUTHPROXYD_CHILDPROCESS_H
#define QUARRY_AUTHPROXYD_CHILDPROCESS_H

#include <chrono>
#include <string>
#include <vector>

namespace quarry::authproxyd {

struct ChildResult {
  bool timedOut = false;
  // The exit status, or -1 when the child did not exit by itself.
  int exitStatus = -1;
  // Standard output and standard error together, in the order written.
  std::string output;
};

// Runs arguments[0], found through PATH, in a process group of its own.
// When the limit passes, the whole group is killed and timedOut is set.
// Throws std::system_error when the child cannot be started.
ChildResult RunChild(const std::vector<std::string>& arguments,
                     const std::string& input,
                     std::chrono::milliseconds limit);

}  // namespace quarry::authproxyd

#endif
