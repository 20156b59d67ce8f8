// The commands that join and leave a domain: "join", "join-proxy",
// "proxy-domain", "import-proxy-cert" and "leave".
#ifndef QUARRYAUTHCTL_JOINCOMMANDS_H
#define QUARRYAUTHCTL_JOINCOMMANDS_H

#include <CLI/CLI.hpp>

#include "Command.h"

namespace quarryauthctl {

void AddJoinCommands(CLI::App& app, Action& chosen);

}  // namespace quarryauthctl

#endif
