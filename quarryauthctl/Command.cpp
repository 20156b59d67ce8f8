#include "Command.h"

#include <utility>

namespace quarryauthctl {

void OnParsed(CLI::App& command, Action& chosen, Action action) {
  command.callback([&chosen, action = std::move(action)] { chosen = action; });
}

void AddJsonFlag(CLI::App& command, bool& json) {
  command.add_flag("--json", json,
                   "Print one JSON document on standard output");
}

void AddTimeoutOption(CLI::App& command, int& seconds) {
  seconds = 60;
  command
      .add_option("--timeout", seconds,
                  "Seconds to wait for each status query before the cached "
                  "answer is given")
      ->check(CLI::Range(1, 3600))
      ->capture_default_str();
}

}  // namespace quarryauthctl
