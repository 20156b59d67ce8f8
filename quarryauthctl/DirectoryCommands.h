// The commands that pass through to the directory plug-in: "dc",
// "smartcard", "principal" and "username".
#ifndef QUARRYAUTHCTL_DIRECTORYCOMMANDS_H
#define QUARRYAUTHCTL_DIRECTORYCOMMANDS_H

#include <CLI/CLI.hpp>

#include "Command.h"

namespace quarryauthctl {

void AddDirectoryCommands(CLI::App& app, Action& chosen);

}  // namespace quarryauthctl

#endif
