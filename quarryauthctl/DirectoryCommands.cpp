#include "DirectoryCommands.h"

#include <quarryauth/authentication.h>

#include <deque>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "ExitStatus.h"
#include "InputRules.h"
#include "Output.h"
#include "StatusCommand.h"

namespace quarryauthctl {

namespace qa = quarry::authentication;

namespace {

// Only "dc show" waits for a status query; it has its own --timeout.
const int kStoreTimeoutSeconds = 60;

int SetDomainControllers(const std::vector<std::string>& names) {
  for (const auto& name : names) RequireDnsName(name, "domain controller");
  qa::ActiveDirectoryStore store(kStoreTimeoutSeconds);
  store.SetPreferredDomainControllers(
      std::deque<std::string>(names.begin(), names.end()));
  std::cout << "Preferred domain controllers: " << JoinWords(names) << '\n';
  return kSuccess;
}

int ShowDomainControllers(int timeoutSeconds, bool json) {
  const qa::ActiveDirectoryStore store(timeoutSeconds);
  const DirectoryConfiguration configuration =
      AskConfiguration(store);
  if (json) {
    PrintJson({{"preferredDomainControllers",
                Json(configuration.preferredDomainControllers)},
               {"fromCache", configuration.fromCache}});
  } else {
    for (const auto& name : configuration.preferredDomainControllers) {
      std::cout << name << '\n';
    }
    if (configuration.fromCache) {
      std::cerr << "quarryauthctl: no answer within " << timeoutSeconds
                << " s; this is the cached answer\n";
    }
  }
  return configuration.fromCache ? kAnsweredFromCache : kSuccess;
}

int SetSmartCardServices(const std::vector<std::string>& services) {
  for (const auto& service : services) RequireName(service, "service name");
  const qa::ActiveDirectoryStore store(kStoreTimeoutSeconds);
  store.SetSmartCardEnabledServices(services);
  std::cout << "Smart-card services: " << JoinWords(services) << '\n';
  return kSuccess;
}

int ShowSmartCardServices(bool json) {
  const qa::ActiveDirectoryStore store(kStoreTimeoutSeconds);
  const std::vector<std::string> services = store.GetSmartCardEnabledServices();
  if (json) {
    PrintJson({{"smartCardServices", Json(services)}});
  } else {
    for (const auto& service : services) std::cout << service << '\n';
  }
  return kSuccess;
}

// The answer of a one-value query, as text or as {"key": value}.
int PrintAnswer(const std::string& key, const std::string& value, bool json) {
  if (json) {
    PrintJson({{key, value}});
  } else {
    std::cout << value << '\n';
  }
  return kSuccess;
}

void AddDomainControllers(CLI::App& app, Action& chosen) {
  CLI::App* dc = app.add_subcommand("dc", "Preferred domain controllers");
  dc->require_subcommand(1);

  auto names = std::make_shared<std::vector<std::string>>();
  CLI::App* set = dc->add_subcommand("set", "Prefer these domain controllers");
  set->add_option("NAME", *names, "Host names of domain controllers")
      ->required();
  OnParsed(*set, chosen, [names] { return SetDomainControllers(*names); });

  struct ShowOptions {
    int timeoutSeconds = 60;
    bool json = false;
  };
  auto options = std::make_shared<ShowOptions>();
  CLI::App* show = dc->add_subcommand("show", "Show the preferred ones");
  AddTimeoutOption(*show, options->timeoutSeconds);
  AddJsonFlag(*show, options->json);
  OnParsed(*show, chosen, [options] {
    return ShowDomainControllers(options->timeoutSeconds, options->json);
  });

  auto domain = std::make_shared<std::string>();
  auto findJson = std::make_shared<bool>(false);
  CLI::App* find =
      dc->add_subcommand("find", "Name a domain controller of a domain");
  find->add_option("DOMAIN", *domain, "DNS name of the domain")->required();
  AddJsonFlag(*find, *findJson);
  OnParsed(*find, chosen, [domain, findJson] {
    RequireDnsName(*domain, "domain");
    const qa::ActiveDirectoryStore store(kStoreTimeoutSeconds);
    return PrintAnswer("domainController",
                       store.GetDomainControllerForDomain(*domain), *findJson);
  });
}

void AddSmartCard(CLI::App& app, Action& chosen) {
  CLI::App* smartcard =
      app.add_subcommand("smartcard", "Services that accept smart-card logons");
  smartcard->require_subcommand(1);

  auto services = std::make_shared<std::vector<std::string>>();
  CLI::App* set = smartcard->add_subcommand(
      "set", "Enable smart-card logon for exactly these services");
  set->add_option("SERVICE", *services, "Service names (none: disable all)");
  OnParsed(*set, chosen,
           [services] { return SetSmartCardServices(*services); });

  auto json = std::make_shared<bool>(false);
  CLI::App* show = smartcard->add_subcommand("show", "Show the services");
  AddJsonFlag(*show, *json);
  OnParsed(*show, chosen, [json] { return ShowSmartCardServices(*json); });
}

void AddPrincipal(CLI::App& app, Action& chosen) {
  auto domain = std::make_shared<std::string>();
  auto json = std::make_shared<bool>(false);
  CLI::App* principal =
      app.add_subcommand("principal", "Show the host's principal in a domain");
  principal->add_option("DOMAIN", *domain, "The domain")->required();
  AddJsonFlag(*principal, *json);
  OnParsed(*principal, chosen, [domain, json] {
    RequireDnsName(*domain, "domain");
    const qa::ActiveDirectoryStore store(kStoreTimeoutSeconds);
    return PrintAnswer("principal", store.GetHostPrincipalForDomain(*domain),
                       *json);
  });
}

void AddUserName(CLI::App& app, Action& chosen) {
  auto name = std::make_shared<std::string>();
  auto json = std::make_shared<bool>(false);
  CLI::App* username =
      app.add_subcommand("username", "Show the canonical form of a user name");
  username->add_option("NAME", *name, "The user name")->required();
  AddJsonFlag(*username, *json);
  OnParsed(*username, chosen, [name, json] {
    RequireUserName(*name);
    const qa::ActiveDirectoryStore store(kStoreTimeoutSeconds);
    return PrintAnswer("username", store.ConvertCanonicalUsername(*name),
                       *json);
  });
}

}  // namespace

void AddDirectoryCommands(CLI::App& app, Action& chosen) {
  AddDomainControllers(app, chosen);
  AddSmartCard(app, chosen);
  AddPrincipal(app, chosen);
  AddUserName(app, chosen);
}

}  // namespace quarryauthctl
