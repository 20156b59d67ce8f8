#include "NssCommands.h"

#include <quarryauth/systemconfiguration.h>

#include <iostream>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "ExitStatus.h"
#include "Output.h"
#include "NameServiceSwitchFile.h"
#include "SystemFile.h"

namespace quarryauthctl {

namespace sc = SystemConfiguration;

namespace {

const std::uint32_t kFirstDatabase = sc::NSSDatabase::Passwd;
const std::uint32_t kLastDatabase = sc::NSSDatabase::Aliases;

sc::NSSDatabase ParseDatabase(const std::string& word) {
  try {
    return sc::NSSDatabase(word);
  } catch (const sc::InvalidDatabaseException& error) {
    throw UsageError(error.what());
  }
}

// "files", "sss [NOTFOUND=return]" or "sss[NOTFOUND=return]".
sc::NSSService ParseService(const std::string& text) {
  const auto bracket = text.find('[');
  std::istringstream name(text.substr(0, bracket));
  std::string module, extra;
  if (!(name >> module) || (name >> extra)) {
    throw UsageError("'" + text +
                     "' is not a service (NAME or NAME [CRITERIA])");
  }
  sc::NSSService service(module);
  if (bracket == std::string::npos) return service;
  const auto close = text.find(']', bracket);
  if (close == std::string::npos || close + 1 != text.size()) {
    throw UsageError("'" + text + "' has no closing ']' at its end");
  }
  std::istringstream criteria(text.substr(bracket + 1, close - bracket - 1));
  std::string criterion;
  while (criteria >> criterion) service.parameters().push_back(criterion);
  return service;
}

Json ServiceJson(sc::NSSService service) {
  const auto& criteria = service.parameters();
  return {{"service", service.module()},
          {"criteria",
           Json(std::vector<std::string>(criteria.begin(), criteria.end()))}};
}

int Show(bool json) {
  const sc::NSSConfiguration configuration = ReadSwitch();
  if (!json) {
    std::cout << configuration;
    return kSuccess;
  }
  // Looking a database up inserts it, so a copy is asked.
  sc::NSSConfiguration copy = configuration;
  Json databases = Json::object();
  for (std::uint32_t number = kFirstDatabase; number <= kLastDatabase;
       ++number) {
    const sc::NSSDatabase database(
        static_cast<sc::NSSDatabase::Database>(number));
    const auto& services = copy[database];
    if (services.empty()) continue;
    Json list = Json::array();
    for (const auto& service : services) list.push_back(ServiceJson(service));
    databases[std::string(database)] = list;
  }
  PrintJson({{"path", std::string(kSwitchPath)}, {"databases", databases}});
  return kSuccess;
}

int Set(const std::string& databaseWord,
        const std::vector<std::string>& serviceTexts) {
  const sc::NSSDatabase database = ParseDatabase(databaseWord);
  std::deque<sc::NSSService> services;
  for (const auto& text : serviceTexts) services.push_back(ParseService(text));
  const std::string before = ReadSystemFile(kSwitchPath);
  // The model must read the file whole before any of it is changed.
  ParseSwitch(before);
  std::ostringstream line;
  for (const auto& service : services) {
    if (line.tellp() > 0) line << ' ';
    line << service;
  }
  ReplaceSystemFile(std::string(kSwitchPath) + ".quarryauthctl-backup", before);
  ReplaceSystemFile(kSwitchPath,
                    WithDatabaseLine(before, std::string(database), line.str()));
  std::cout << std::string(database) << ": " << line.str() << '\n';
  return kSuccess;
}

}  // namespace

void AddNssCommands(CLI::App& app, Action& chosen) {
  CLI::App* nss = app.add_subcommand(
      "nss", "Show and edit the name-service switch file /etc/nsswitch.conf");
  nss->require_subcommand(1);

  auto json = std::make_shared<bool>(false);
  CLI::App* show = nss->add_subcommand("show", "Show the databases' services");
  AddJsonFlag(*show, *json);
  OnParsed(*show, chosen, [json] { return Show(*json); });

  auto database = std::make_shared<std::string>();
  auto services = std::make_shared<std::vector<std::string>>();
  CLI::App* set = nss->add_subcommand(
      "set", "Make these services, in this order, answer a database");
  set->add_option("DATABASE", *database, "passwd, group, hosts, ...")
      ->required();
  set->add_option("SERVICE", *services,
                  "NAME, or NAME [CRITERIA] as one argument")
      ->required();
  OnParsed(*set, chosen,
           [database, services] { return Set(*database, *services); });
}

}  // namespace quarryauthctl
