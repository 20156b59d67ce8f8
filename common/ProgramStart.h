// Starting a helper program so that any host process can learn how it
// ended: also one that ignores SIGCHLD (common in services), where the
// kernel discards the exit status of an ordinary child at once.
//
// The program runs under a small supervising process of ours that never
// execs and so signals nobody when it ends: its status waits for us (with
// __WALL) whatever the host does with SIGCHLD, and it ends as the program
// ended. The program runs in a process group of its own, with default
// signal handling, no blocked signals and only the three streams given.
#ifndef QUARRY_COMMON_PROGRAMSTART_H
#define QUARRY_COMMON_PROGRAMSTART_H

#include <sys/types.h>

#include <string>
#include <vector>

namespace quarry::common {

struct StartedProgram {
  pid_t supervisor = -1;  // our child: the one to wait for
  pid_t group = -1;       // the program's process group: the one to kill
};

// Starts arguments[0] (an absolute path, or a name searched for in PATH)
// with the environment given and streams[0..2] as its standard input,
// output and error. Returns false with errno set (ENOENT, EACCES, ...) when
// it could not be started; nothing is left running then.
bool StartProgram(const std::vector<std::string>& arguments,
                  const std::vector<std::string>& environment,
                  const int streams[3], StartedProgram& started);

// True once the program has ended (and its supervisor been reaped), with
// its exit code, or -1 when it did not exit by itself. Never waits.
bool ProgramEnded(const StartedProgram& started, int& exitStatus);

// Kills the program and everything in its process group.
void KillProgram(const StartedProgram& started);

}  // namespace quarry::common

#endif
