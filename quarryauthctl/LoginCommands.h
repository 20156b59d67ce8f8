// The "login" commands: wire the directory plug-in's PAM and name-service
// modules into the host so that the joined domain's users can log in
// ("enable"), take that back exactly ("disable"), and say what is wired
// ("status").
#ifndef QUARRYAUTHCTL_LOGINCOMMANDS_H
#define QUARRYAUTHCTL_LOGINCOMMANDS_H

#include <CLI/CLI.hpp>

#include "Command.h"

namespace quarryauthctl {

void AddLoginCommands(CLI::App& app, Action& chosen);

}  // namespace quarryauthctl

#endif
