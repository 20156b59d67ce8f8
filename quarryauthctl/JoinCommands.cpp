#include "JoinCommands.h"

#include <quarryauth/authentication.h>

#include <iostream>
#include <memory>
#include <string>

#include "ExitStatus.h"
#include "InputRules.h"
#include "JoinProgress.h"
#include "Output.h"
#include "Password.h"
#include "StoreCommands.h"

namespace quarryauthctl {

namespace qa = quarry::authentication;

namespace {

// Joins and leaves wait for no status query; the time-out is unused.
const int kStoreTimeoutSeconds = 60;

const char kActiveDirectory[] = "Active Directory";

// A join while another store is active is allowed (the domain can be
// joined first and the store activated later), but it is rarely meant.
void WarnUnlessActiveDirectoryIsActive() {
  const std::string active = RecordedActiveStore();
  if (active == kActiveDirectory) return;
  std::cerr << "quarryauthctl: warning: the active store is '"
            << (active.empty() ? "None" : active)
            << "', so the domain's users cannot log in after this join until "
               "'quarryauthctl activate \"Active Directory\"'\n";
}

struct JoinOptions {
  std::string domain;
  std::string user;
  bool skipHostnameChecks = false;
  PasswordSource password;
};

int Join(const JoinOptions& options) {
  RefusePasswordOnCommandLine(options.password);
  RequireJoinTarget(options.domain);
  RequireUserName(options.user);
  // The plug-in is loaded before the password is asked for, so that a
  // broken installation does not cost the administrator a typing.
  qa::ActiveDirectoryStore store(kStoreTimeoutSeconds);
  Secret password;
  ReadPassword(options.password, options.user, password);
  const Credentials credentials{options.user.c_str(), password.c_str()};
  WarnUnlessActiveDirectoryIsActive();
  {
    JoinProgress progress("Joining " + options.domain);
    store.JoinDomain(options.domain, credentials, options.skipHostnameChecks);
  }
  std::cout << "Joined " << options.domain << ".\n";
  return kSuccess;
}

struct ProxyJoinOptions {
  std::string server;
  std::string organizationalUnit;
  bool skipHostnameChecks = false;
};

int JoinThroughProxy(const ProxyJoinOptions& options) {
  if (!options.organizationalUnit.empty()) {
    RequireOrganizationalUnit(options.organizationalUnit);
  }
  qa::ActiveDirectoryStore store(kStoreTimeoutSeconds);
  WarnUnlessActiveDirectoryIsActive();
  {
    JoinProgress progress("Joining through the proxy at " + options.server);
    store.JoinDomainWithCAM(options.server, options.organizationalUnit,
                            options.skipHostnameChecks);
  }
  std::cout << "Joined " << qa::ActiveDirectoryConfigStore().GetDomainName()
            << " through the authentication proxy at " << options.server
            << ".\n";
  return kSuccess;
}

int ShowProxyDomain(const std::string& server, bool json) {
  qa::ActiveDirectoryStore store(kStoreTimeoutSeconds);
  const std::string domain = store.GetDomainForCAMService(server);
  if (json) {
    PrintJson({{"server", server}, {"domain", domain}});
  } else {
    std::cout << domain << '\n';
  }
  return kSuccess;
}

int ImportProxyCertificate(const std::string& path) {
  qa::ActiveDirectoryStore store(kStoreTimeoutSeconds);
  // The library's texts for these do not name the file.
  try {
    store.ImportCertificateForCAM(path, std::string());
  } catch (const qa::FileNotFoundException& error) {
    throw FileRefusal("cannot read the certificate file '" + path +
                      "': " + error.what());
  } catch (const qa::InvalidCertificateException& error) {
    throw FileRefusal("'" + path + "': " + error.what());
  }
  std::cout << "Imported the proxy certificate; its thumbprint is "
            << qa::ActiveDirectoryConfigStore().GetThumbprint() << ".\n";
  return kSuccess;
}

struct LeaveOptions {
  std::string user;
  PasswordSource password;
};

int Leave(const LeaveOptions& options) {
  RefusePasswordOnCommandLine(options.password);
  if (!options.user.empty()) RequireUserName(options.user);
  qa::ActiveDirectoryStore store(kStoreTimeoutSeconds);
  if (options.user.empty()) {
    store.PartDomain();
    std::cout << "Left the domain.\n";
    return kSuccess;
  }
  Secret password;
  ReadPassword(options.password, options.user, password);
  const Credentials credentials{options.user.c_str(), password.c_str()};
  store.PartDomain(credentials);
  std::cout << "Left the domain as " << options.user
            << "; the host configuration store keeps its domain record.\n";
  return kSuccess;
}

void AddJoin(CLI::App& app, Action& chosen) {
  auto options = std::make_shared<JoinOptions>();
  CLI::App* join = app.add_subcommand(
      "join", "Join a domain with an administrator's account");
  join->add_option("DOMAIN", options->domain,
                   "The domain, optionally followed by /ORGANIZATIONAL-UNIT")
      ->required();
  join->add_option("--user", options->user, "The administrator's account")
      ->required();
  join->add_flag("--skip-hostname-checks", options->skipHostnameChecks,
                 "Do not check or correct the host name first");
  AddPasswordOptions(*join, options->password);
  OnParsed(*join, chosen, [options] { return Join(*options); });
}

void AddJoinThroughProxy(CLI::App& app, Action& chosen) {
  auto options = std::make_shared<ProxyJoinOptions>();
  CLI::App* join = app.add_subcommand(
      "join-proxy",
      "Join the domain of an authentication proxy, which creates the "
      "machine account");
  join->add_option("SERVER", options->server, "The proxy's IPv4 address")
      ->required();
  join->add_option("--ou", options->organizationalUnit,
                   "Where the proxy creates the account (default: its own "
                   "choice)");
  join->add_flag("--skip-hostname-checks", options->skipHostnameChecks,
                 "Do not check or correct the host name first");
  OnParsed(*join, chosen, [options] { return JoinThroughProxy(*options); });
}

void AddProxyDomain(CLI::App& app, Action& chosen) {
  auto server = std::make_shared<std::string>();
  auto json = std::make_shared<bool>(false);
  CLI::App* command = app.add_subcommand(
      "proxy-domain", "Show the domain that an authentication proxy serves");
  command->add_option("SERVER", *server, "The proxy's IPv4 address")
      ->required();
  AddJsonFlag(*command, *json);
  OnParsed(*command, chosen,
           [server, json] { return ShowProxyDomain(*server, *json); });
}

void AddImportProxyCertificate(CLI::App& app, Action& chosen) {
  auto path = std::make_shared<std::string>();
  CLI::App* command = app.add_subcommand(
      "import-proxy-cert",
      "Accept an authentication proxy's certificate (a PEM file)");
  command->add_option("FILE", *path, "The certificate in PEM form")->required();
  OnParsed(*command, chosen, [path] { return ImportProxyCertificate(*path); });
}

void AddLeave(CLI::App& app, Action& chosen) {
  auto options = std::make_shared<LeaveOptions>();
  CLI::App* leave = app.add_subcommand(
      "leave",
      "Leave the domain (with --user, as that account; the domain record "
      "is then kept)");
  leave->add_option("--user", options->user, "The administrator's account");
  AddPasswordOptions(*leave, options->password);
  OnParsed(*leave, chosen, [options] { return Leave(*options); });
}

}  // namespace

void AddJoinCommands(CLI::App& app, Action& chosen) {
  AddJoin(app, chosen);
  AddJoinThroughProxy(app, chosen);
  AddProxyDomain(app, chosen);
  AddImportProxyCertificate(app, chosen);
  AddLeave(app, chosen);
}

}  // namespace quarryauthctl
