#include "StoreCommands.h"

#include <quarryauth/authentication.h>

#include <iostream>
#include <memory>
#include <string>

#include "ExitStatus.h"
#include "Output.h"

namespace quarryauthctl {

namespace qa = quarry::authentication;

namespace {

qa::AuthenticationStoreFactory& Factory() {
  // The library builds its own factory when it is loaded.
  qa::AuthenticationStoreFactory* factory =
      qa::Singleton<qa::AuthenticationStoreFactory>::_instance;
  if (factory == nullptr) throw Failure("the library has no store factory");
  return *factory;
}

int ListStores(bool json) {
  const std::string active = RecordedActiveStore();
  const auto names = Factory().GetRegisteredStores();
  if (json) {
    Json stores = Json::array();
    for (const auto& name : names) {
      stores.push_back({{"name", name}, {"active", name == active}});
    }
    PrintJson({{"stores", stores}, {"active", active}});
    return kSuccess;
  }
  for (const auto& name : names) {
    std::cout << (name == active ? "* " : "  ") << name << '\n';
  }
  return kSuccess;
}

std::string KnownStores() {
  std::string known;
  for (const auto& name : Factory().GetRegisteredStores()) {
    known += (known.empty() ? "'" : ", '") + name + "'";
  }
  return known;
}

int Activate(const std::string& name) {
  std::unique_ptr<qa::AuthenticationStore> store =
      Factory().CreateInstance(name);
  if (!store) {
    throw UsageError("unknown store '" + name + "'; the stores are " +
                     KnownStores());
  }
  store->MakeActive();
  std::cout << "The active store is now '" << store->GetDisplayName() << "'.\n";
  return kSuccess;
}

Json ParameterList(const std::list<std::string>& parameters) {
  return Json(std::vector<std::string>(parameters.begin(), parameters.end()));
}

std::string Words(const std::string& first,
                  const std::list<std::string>& rest) {
  std::string words = first;
  for (const auto& word : rest) words += " " + word;
  return words;
}

int DescribeProvider(bool json) {
  const std::string name = ConfiguredProvider();
  const qa::ActiveDirectoryProvider provider(name);
  if (json) {
    PrintJson(
        {{"provider", name},
         {"apiVersion", provider.GetAPIVersion()},
         {"pamModule", provider.PAMModule()},
         {"pamModuleParameters", ParameterList(provider.PAMModuleParameters())},
         {"nssModule", provider.NSSModule()},
         {"nssModuleParameters",
          ParameterList(provider.NSSModuleParameters())}});
    return kSuccess;
  }
  PrintField("Provider", name);
  PrintField("API version", std::to_string(provider.GetAPIVersion()));
  PrintField("PAM module",
             Words(provider.PAMModule(), provider.PAMModuleParameters()));
  PrintField("NSS module",
             Words(provider.NSSModule(), provider.NSSModuleParameters()));
  return kSuccess;
}

}  // namespace

std::string ConfiguredProvider() {
  qa::ProviderConfiguration configuration;
  const std::string name = configuration["provider"];
  if (name.empty()) {
    throw Failure("no directory plug-in is named in '" + configuration.Path() +
                  "'");
  }
  return name;
}

std::string RecordedActiveStore() {
  qa::AuthenticationConfiguration configuration;
  return configuration["remote-authentication-store"];
}

void AddStoreCommands(CLI::App& app, Action& chosen) {
  auto json = std::make_shared<bool>(false);
  CLI::App* stores =
      app.add_subcommand("stores", "List the stores; '*' marks the active one");
  AddJsonFlag(*stores, *json);
  OnParsed(*stores, chosen, [json] { return ListStores(*json); });

  auto name = std::make_shared<std::string>();
  CLI::App* activate = app.add_subcommand(
      "activate",
      "Make a store the active one (\"None\" deactivates the "
      "previous store)");
  activate->add_option("NAME", *name, "The store's name")->required();
  OnParsed(*activate, chosen, [name] { return Activate(*name); });

  auto providerJson = std::make_shared<bool>(false);
  CLI::App* provider = app.add_subcommand(
      "provider",
      "Describe the directory plug-in: its PAM and name-service modules");
  AddJsonFlag(*provider, *providerJson);
  OnParsed(*provider, chosen,
           [providerJson] { return DescribeProvider(*providerJson); });
}

}  // namespace quarryauthctl
