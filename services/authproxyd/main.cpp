// quarry-authproxyd: the authentication proxy. Creates computer accounts in
// the domain for hosts that ask over HTTPS and hands them one-time
// passwords, so that hosts can join without an administrator's password.
//
//   quarry-authproxyd [-c FILE] [--foreground] | --help | --version
//   quarry-authproxyd [-c FILE] enroll HOST --certificate PEM | --thumbprint T
//   quarry-authproxyd [-c FILE] revoke HOST|THUMBPRINT
//   quarry-authproxyd [-c FILE] list
//
// FILE defaults to /etc/quarry/authproxyd.conf (see ProxySettings.h).
// Without --foreground the service detaches; it logs to syslog, and in the
// foreground to standard error as well.
#include <signal.h>
#include <syslog.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstring>
#include <functional>
#include <iostream>
#include <optional>
#include <string>
#include <thread>

#include "services/authproxyd/EnrolmentCommands.h"
#include "services/authproxyd/ComputerAccounts.h"
#include "services/authproxyd/HttpsService.h"
#include "services/authproxyd/LdapDirectory.h"
#include "services/authproxyd/ProxyRequests.h"
#include "services/authproxyd/ProxySettings.h"
#include "services/authproxyd/RequestWorkers.h"
#include "services/authproxyd/ServicePassword.h"

namespace {

using namespace quarry::authproxyd;

constexpr int kUsage = 2;
constexpr int kFailure = 1;

struct Options {
  std::string settingsPath = kDefaultSettingsPath;
  bool foreground = false;
  std::function<int()> command;  // an enrolment command instead of serving
};

// Fills options from the command line; returns the exit status when the
// command line asks for no service (help, version) or is wrong.
std::optional<int> ParseOptions(int argc, char** argv, Options& options) {
  CLI::App app{
      "The authentication proxy: creates computer accounts in the domain "
      "for enrolled hosts that ask over HTTPS, so that they can join "
      "without an administrator's password.",
      "quarry-authproxyd"};
  app.set_version_flag("--version", "quarry-authproxyd " QUARRYAUTH_VERSION);
  app.add_option("-c,--config", options.settingsPath, "The settings file")
      ->capture_default_str();
  app.add_flag("--foreground", options.foreground,
               "Stay in the foreground and log to standard error as well");
  AddEnrolmentCommands(app, options.settingsPath, options.command);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : kUsage;
  }
  return std::nullopt;
}

// Blocks the stop signals in every thread; one waiter turns them into a
// clean stop of the server.
sigset_t StopSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGTERM);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGHUP);
  return signals;
}

int Serve(const ProxySettings& settings, bool foreground) {
  LdapConnector directory(settings);
  ComputerAccounts accounts(directory, settings);
  // Declared after what its work uses, so that it ends (and waits for that
  // work) before those do.
  RequestWorkers workers(settings.directoryWorkers);
  ProxyRequests requests(accounts, workers, settings);
  HttpsService service(settings, requests);
  service.Bind();
  // Detached only once the port is ours, so that a start that cannot
  // serve fails where its caller sees it.
  if (!foreground && ::daemon(0, 0) != 0) {
    throw SettingsError(std::string("cannot detach: ") + std::strerror(errno));
  }
  const sigset_t signals = StopSignals();
  std::thread stopper([&service, &workers, signals] {
    int signal = 0;
    sigwait(&signals, &signal);
    syslog(LOG_INFO, "stopping on signal %d", signal);
    // Requests waiting for the directory are answered at once.
    workers.Stop();
    service.Stop();
  });
  syslog(LOG_INFO, "serving domain %s on %s:%d", settings.domain.c_str(),
         settings.listenAddress.c_str(), settings.port);
  const bool served = service.Serve();
  if (!served) {
    syslog(LOG_ERR, "serving failed");
    // Wakes the stopper so that it can be joined.
    ::kill(::getpid(), SIGTERM);
  }
  stopper.join();
  return served ? 0 : kFailure;
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  if (const std::optional<int> status = ParseOptions(argc, argv, options)) {
    return *status;
  }
  if (options.command) return options.command();
  ::signal(SIGPIPE, SIG_IGN);
  const sigset_t signals = StopSignals();
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  openlog("quarry-authproxyd", LOG_PID, LOG_DAEMON);
  bool logsToStandardError = false;
  try {
    const ProxySettings settings = ReadProxySettings(options.settingsPath);
    ReadServicePassword(settings.passwordFile);  // fail now, not per request
    if (options.foreground) {
      openlog("quarry-authproxyd", LOG_PID | LOG_PERROR, LOG_DAEMON);
      logsToStandardError = true;
    }
    return Serve(settings, options.foreground);
  } catch (const SettingsError& error) {
    if (!logsToStandardError) {
      std::cerr << "quarry-authproxyd: " << error.what() << "\n";
    }
    syslog(LOG_ERR, "%s", error.what());
    return kFailure;
  }
}
