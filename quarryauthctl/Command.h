// How subcommands are wired: each one, once the whole command line has been
// parsed, leaves behind the action to run.
#ifndef QUARRYAUTHCTL_COMMAND_H
#define QUARRYAUTHCTL_COMMAND_H

#include <CLI/CLI.hpp>
#include <functional>

namespace quarryauthctl {

// Runs the command; returns its exit status.
using Action = std::function<int()>;

// When command is parsed, chosen becomes action.
void OnParsed(CLI::App& command, Action& chosen, Action action);

// The --json flag of a command that reads.
void AddJsonFlag(CLI::App& command, bool& json);

// The --timeout option of a command that asks the status queries (seconds
// that the store waits for the plug-in; default 60, as the library's own
// stores wait).
void AddTimeoutOption(CLI::App& command, int& seconds);

}  // namespace quarryauthctl

#endif
