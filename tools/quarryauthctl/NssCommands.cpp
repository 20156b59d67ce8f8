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
#include "SystemFile.h"

namespace quarryauthctl {

namespace sc = SystemConfiguration;

namespace {

const char kSwitchPath[] = "/etc/nsswitch.conf";
const std::uint32_t kFirstDatabase = sc::NSSDatabase::Passwd;
const std::uint32_t kLastDatabase = sc::NSSDatabase::Aliases;

// The services that each database line names, counted the plain way (words
// after the database, bracketed criteria not counted). The model skips the
// words after a line's criteria; comparing counts catches that loss.
std::map<std::string, std::size_t> CountServicesPlainly(
    const std::string& text) {
  std::map<std::string, std::size_t> counts;
  std::istringstream lines(text);
  std::string line;
  while (std::getline(lines, line)) {
    std::istringstream words(line);
    std::string database, word;
    if (!(words >> database) || database[0] == '#' || database.back() != ':') {
      continue;
    }
    database.pop_back();
    bool inCriteria = false;
    while (words >> word && word[0] != '#') {
      if (word.front() == '[') inCriteria = true;
      if (!inCriteria) ++counts[database];
      if (word.back() == ']') inCriteria = false;
    }
  }
  return counts;
}

void RefuseLossyReading(const std::string& text,
                        const sc::NSSConfiguration& configuration) {
  sc::NSSConfiguration copy = configuration;
  for (const auto& count : CountServicesPlainly(text)) {
    sc::NSSDatabase database;
    try {
      database = count.first;
    } catch (const sc::InvalidDatabaseException&) {
      continue;  // the model skips unknown databases, and so do we
    }
    if (copy[database].size() != count.second) {
      throw ModelRefusal(
          std::string("the name-service switch model reads only ") +
          std::to_string(copy[database].size()) + " of the " +
          std::to_string(count.second) + " services of '" + count.first +
          "' in '" + kSwitchPath +
          "' (it skips the words after status criteria); it is left "
          "untouched");
    }
  }
}

sc::NSSConfiguration ReadSwitch() {
  const std::string text = ReadSystemFile(kSwitchPath);
  std::istringstream in(text);
  sc::NSSConfiguration configuration;
  try {
    in >> configuration;
  } catch (const std::exception& error) {
    throw ModelRefusal(std::string("the name-service switch model cannot "
                                   "read '") +
                       kSwitchPath + "' (" + error.what() +
                       "); it is left untouched");
  }
  RefuseLossyReading(text, configuration);
  return configuration;
}

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
  PrintJson({{"path", kSwitchPath}, {"databases", databases}});
  return kSuccess;
}

// text with the line of database replaced by one that names services, the
// spacing after "database:" kept; appended when there is none. Every other
// line stays byte for byte.
std::string WithDatabaseLine(const std::string& text,
                             const std::string& database,
                             const std::string& services) {
  std::istringstream lines(text);
  std::string line, result;
  bool replaced = false;
  while (std::getline(lines, line)) {
    std::istringstream words(line);
    std::string first;
    if (!replaced && (words >> first) && first == database + ":") {
      const std::string::size_type name = line.find(first);
      const std::string::size_type value =
          line.find_first_not_of(" \t", name + first.size());
      const std::string lead = value == std::string::npos
                                   ? line.substr(0, name + first.size()) + " "
                                   : line.substr(0, value);
      line = lead + services;
      replaced = true;
    }
    result += line + "\n";
  }
  if (!text.empty() && text.back() != '\n') result.pop_back();
  if (!replaced) {
    if (!result.empty() && result.back() != '\n') result += '\n';
    result += database + ":\t" + services + "\n";
  }
  return result;
}

int Set(const std::string& databaseWord,
        const std::vector<std::string>& serviceTexts) {
  const sc::NSSDatabase database = ParseDatabase(databaseWord);
  std::deque<sc::NSSService> services;
  for (const auto& text : serviceTexts) services.push_back(ParseService(text));
  // The model must read the file whole before any of it is changed.
  ReadSwitch();
  const std::string before = ReadSystemFile(kSwitchPath);
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
