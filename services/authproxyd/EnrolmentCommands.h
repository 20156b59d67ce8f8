// quarry-authproxyd enroll | revoke | list: the administrator's commands
// for the list of hosts that the proxy serves (Enrolment.h). They edit the
// file that the running service reads for every request.
#ifndef QUARRY_AUTHPROXYD_ENROLMENTCOMMANDS_H
#define QUARRY_AUTHPROXYD_ENROLMENTCOMMANDS_H

#include <CLI/CLI.hpp>
#include <functional>
#include <string>

namespace quarry::authproxyd {

// Adds the three commands to app; the one given on the command line sets
// chosen, which runs it and returns the exit status. settingsPath is read
// when the command runs (the enrolment file and the domain come from it).
void AddEnrolmentCommands(CLI::App& app, const std::string& settingsPath,
                          std::function<int()>& chosen);

}  // namespace quarry::authproxyd

#endif
