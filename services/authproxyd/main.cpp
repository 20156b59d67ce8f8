// quarry-authproxyd: the authentication proxy. Creates computer accounts in
// the domain for hosts that ask over HTTPS and hands them one-time
// passwords, so that hosts can join without an administrator's password.
//
//   quarry-authproxyd [-c FILE] [--foreground]
//
// FILE defaults to /etc/quarry/authproxyd.conf (see ProxySettings.h).
// Without --foreground the service detaches; it logs to syslog, and in the
// foreground to standard error as well.
#include <signal.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <iostream>
#include <string>
#include <thread>

#include "services/authproxyd/AdcliDirectory.h"
#include "services/authproxyd/HttpsService.h"
#include "services/authproxyd/ProxyRequests.h"
#include "services/authproxyd/ProxySettings.h"
#include "services/authproxyd/ServicePassword.h"

namespace {

using namespace quarry::authproxyd;

constexpr int kUsage = 2;
constexpr int kFailure = 1;

struct Options {
  std::string settingsPath = kDefaultSettingsPath;
  bool foreground = false;
};

bool ParseOptions(int argc, char** argv, Options& options) {
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    if (argument == "--foreground") {
      options.foreground = true;
    } else if (argument == "-c" && i + 1 < argc) {
      options.settingsPath = argv[++i];
    } else {
      return false;
    }
  }
  return true;
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
  AdcliDirectory directory(settings);
  ProxyRequests requests(directory);
  HttpsService service(settings, requests);
  service.Bind();
  // Detached only once the port is ours, so that a start that cannot
  // serve fails where its caller sees it.
  if (!foreground && ::daemon(0, 0) != 0) {
    throw SettingsError(std::string("cannot detach: ") + std::strerror(errno));
  }
  const sigset_t signals = StopSignals();
  std::thread stopper([&service, signals] {
    int signal = 0;
    sigwait(&signals, &signal);
    syslog(LOG_INFO, "stopping on signal %d", signal);
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
  if (!ParseOptions(argc, argv, options)) {
    std::cerr << "usage: quarry-authproxyd [-c FILE] [--foreground]\n";
    return kUsage;
  }
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
