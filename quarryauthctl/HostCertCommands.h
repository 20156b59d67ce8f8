// "host-cert create" and "host-cert thumbprint": the host's own key and
// certificate for the authentication proxy.
#ifndef QUARRYAUTHCTL_HOSTCERTCOMMANDS_H
#define QUARRYAUTHCTL_HOSTCERTCOMMANDS_H

#include <CLI/CLI.hpp>

#include "Command.h"

namespace quarryauthctl {

void AddHostCertCommands(CLI::App& app, Action& chosen);

}  // namespace quarryauthctl

#endif
