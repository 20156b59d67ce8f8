#include "NameServiceSwitchFile.h"

#include <functional>
#include <map>
#include <sstream>
#include <string>

#include "ExitStatus.h"
#include "SystemFile.h"

namespace quarryauthctl {

namespace sc = SystemConfiguration;

const char kSwitchPath[] = "/etc/nsswitch.conf";

namespace {


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

}  // namespace

sc::NSSConfiguration ReadSwitch() {
  return ParseSwitch(ReadSystemFile(kSwitchPath));
}

sc::NSSConfiguration ParseSwitch(const std::string& text) {
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

namespace {

// text with the first line of database changed by edit; "database:<TAB>"
// followed by services appended when there is none. Every other line stays
// byte for byte.
std::string WithLineOfDatabase(const std::string& text,
                               const std::string& database,
                               const std::string& services,
                               const std::function<void(std::string&)>& edit) {
  std::istringstream lines(text);
  std::string line, result;
  bool edited = false;
  while (std::getline(lines, line)) {
    std::istringstream words(line);
    std::string first;
    if (!edited && (words >> first) && first == database + ":") {
      edit(line);
      edited = true;
    }
    result += line + "\n";
  }
  if (!text.empty() && text.back() != '\n') result.pop_back();
  if (!edited) {
    if (!result.empty() && result.back() != '\n') result += '\n';
    result += database + ":\t" + services + "\n";
  }
  return result;
}

}  // namespace

std::string WithDatabaseLine(const std::string& text,
                             const std::string& database,
                             const std::string& services) {
  // The spacing after "database:" is kept.
  return WithLineOfDatabase(text, database, services, [&](std::string& line) {
    const std::string label = database + ":";
    const std::string::size_type name = line.find(label);
    const std::string::size_type value =
        line.find_first_not_of(" \t", name + label.size());
    const std::string lead = value == std::string::npos
                                 ? line.substr(0, name + label.size()) + " "
                                 : line.substr(0, value);
    line = lead + services;
  });
}

std::string WithServiceAdded(const std::string& text,
                             const std::string& database,
                             const std::string& service) {
  return WithLineOfDatabase(text, database, service, [&](std::string& line) {
    // Before a trailing comment and the blanks ahead of it.
    std::string::size_type end = line.find('#');
    if (end == std::string::npos) end = line.size();
    while (end > 0 && (line[end - 1] == ' ' || line[end - 1] == '\t')) --end;
    line.insert(end, " " + service);
  });
}

bool DatabaseLineNames(const std::string& text, const std::string& database,
                       const std::string& module) {
  std::istringstream lines(text);
  std::string line;
  while (std::getline(lines, line)) {
    std::istringstream words(line);
    std::string word;
    if (!(words >> word) || word != database + ":") continue;
    bool inCriteria = false;
    while (words >> word && word[0] != '#') {
      if (word.front() == '[') inCriteria = true;
      if (!inCriteria && word == module) return true;
      if (word.back() == ']') inCriteria = false;
    }
    return false;
  }
  return false;
}

}  // namespace quarryauthctl
