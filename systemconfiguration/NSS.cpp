#include <quarryauth/systemconfiguration/NSS.h>

#include <array>
#include <cstddef>
#include <sstream>
#include <string_view>
#include <utility>

#include "systemconfiguration/Tokens.h"

namespace SystemConfiguration {

using internal::DropLeading;
using internal::FindToken;
using internal::FindValue;
using internal::SplitWords;
using internal::TokenRow;

namespace {

// The token table in their fixed row order; lookups walk it front to back.
// Constant-initialised, like the PAM tables.
using DatabaseRow = TokenRow<NSSDatabase::Database>;
constexpr std::array<DatabaseRow, 15> kDatabaseTable = {{
    {NSSDatabase::Passwd, "passwd"},
    {NSSDatabase::Group, "group"},
    {NSSDatabase::Shadow, "shadow"},
    {NSSDatabase::Hosts, "hosts"},
    {NSSDatabase::Netmasks, "netmasks"},
    {NSSDatabase::Networks, "networks"},
    {NSSDatabase::Protocols, "protocols"},
    {NSSDatabase::Services, "services"},
    {NSSDatabase::Ethers, "ethers"},
    {NSSDatabase::Rpc, "rpc"},
    {NSSDatabase::Netgroup, "netgroup"},
    {NSSDatabase::Bootparams, "bootparams"},
    {NSSDatabase::Publickey, "publickey"},
    {NSSDatabase::Automount, "automount"},
    {NSSDatabase::Aliases, "aliases"},
}};

constexpr char kInvalidDatabase[] = "Invalid Database: ";

NSSDatabase::Database ParseDatabase(const std::string& word) {
  NSSDatabase::Database value;
  if (FindValue(kDatabaseTable, word, value)) return value;
  throw InvalidDatabaseException(kInvalidDatabase + word);
}

// The index of the first "]" at or after `from`, or npos. The reader asks
// with ever larger `from` within one line; remembering the last answer
// keeps a line with many words linear instead of quadratic.
class CloseBracketFinder {
 public:
  explicit CloseBracketFinder(const std::string& line) : line(line) {}

  std::size_t Find(std::size_t from) {
    if (from < searchedFrom || (found != std::string::npos && found < from)) {
      found = line.find(']', from);
      searchedFrom = from;
    }
    return found;
  }

 private:
  const std::string& line;
  // Nothing searched yet: no answer can be reused.
  std::size_t searchedFrom = std::string::npos;
  std::size_t found = std::string::npos;
};

// Reads the services that follow the first word of one line (already
// trimmed at its front) into the queue of database; see operator>> in NSS.h.
void ReadServices(std::istringstream& words, const std::string& line,
                  NSSConfiguration& configuration, const NSSDatabase& database) {
  CloseBracketFinder closeBracket(line);
  while (!words.fail()) {
    std::string word;
    words >> word;
    if (word.empty()) break;
    NSSService service(word);
    // tellg fails, and gives -1, when the word reached the end of the line.
    const std::streampos position = words.tellg();
    if (position == std::streampos(-1) ||
        static_cast<std::size_t>(static_cast<std::streamoff>(position)) >=
            line.size()) {
      configuration[database].push_back(std::move(service));
      continue;
    }
    const std::size_t p =
        static_cast<std::size_t>(static_cast<std::streamoff>(position));
    // The character after the single separator; exactly one trailing
    // character makes this throw std::out_of_range (kept on purpose).
    if (line.at(p + 1) == '[') {
      std::size_t close = closeBracket.Find(p + 1);
      if (close == std::string::npos) close = line.size();
      SplitWords(line.substr(p + 2, close - (p + 2)), service.parameters());
    }
    // Kept on purpose: the move adds the bracket's index to p + 1, so after
    // a bracketed list (or any later "]") it usually lands past the end of
    // the line, fails, and ends the line. Without a "]" the stream stays.
    const std::size_t close = closeBracket.Find(p + 1);
    if (close != std::string::npos) {
      words.seekg(static_cast<std::streamoff>(p + 1 + close));
    }
    configuration[database].push_back(std::move(service));
  }
}

}  // namespace

// --- InvalidDatabaseException ---------------------------------------------

InvalidDatabaseException::InvalidDatabaseException(const std::string& message)
    : message(message) {}

InvalidDatabaseException::~InvalidDatabaseException() = default;

const char* InvalidDatabaseException::what() const noexcept {
  return message.c_str();
}

// --- NSSDatabase ----------------------------------------------------------

QUARRY_DEFINE_TOKEN_CLASS_MEMBERS(NSSDatabase, Database, database,
                                  ParseDatabase, kDatabaseTable,
                                  InvalidDatabaseException, kInvalidDatabase)

// --- NSSService -----------------------------------------------------------

NSSService::NSSService(const std::string& module) : module_(module) {}

NSSService::NSSService(const NSSService& other) = default;

NSSService::NSSService(NSSService&& other) noexcept = default;

NSSService& NSSService::operator=(const NSSService& other) = default;

NSSService& NSSService::operator=(NSSService&& other) noexcept = default;

NSSService::~NSSService() = default;

const std::string& NSSService::module() const { return module_; }

std::list<std::string>& NSSService::parameters() { return parameters_; }

bool NSSService::operator==(const NSSService& other) const {
  return module_ == other.module_ && parameters_ == other.parameters_;
}

std::ostream& operator<<(std::ostream& out, const NSSService& service) {
  out << service.module_;
  if (!service.parameters_.empty()) {
    out << " [";
    const char* separator = "";
    for (const std::string& parameter : service.parameters_) {
      out << separator << parameter;
      separator = " ";
    }
    out << ']';
  }
  return out;
}

// --- NSSConfiguration -----------------------------------------------------

bool NSSConfiguration::DatabaseOrder::operator()(
    const NSSDatabase& left, const NSSDatabase& right) const {
  return static_cast<NSSDatabase::Database>(left) <
         static_cast<NSSDatabase::Database>(right);
}

NSSConfiguration::NSSConfiguration() = default;

NSSConfiguration::NSSConfiguration(const NSSConfiguration& other) = default;

NSSConfiguration::NSSConfiguration(NSSConfiguration&& other) = default;

NSSConfiguration& NSSConfiguration::operator=(const NSSConfiguration& other) =
    default;

NSSConfiguration& NSSConfiguration::operator=(NSSConfiguration&& other) =
    default;

NSSConfiguration::~NSSConfiguration() = default;

std::deque<NSSService>& NSSConfiguration::operator[](NSSDatabase database) {
  return databases[database];
}

std::ostream& operator<<(std::ostream& out,
                         const NSSConfiguration& configuration) {
  for (const auto& databaseAndServices : configuration.databases) {
    out << static_cast<std::string>(databaseAndServices.first) << ':';
    for (const NSSService& service : databaseAndServices.second) {
      out << ' ' << service;
    }
    out << std::endl;
  }
  return out;
}

std::istream& operator>>(std::istream& in, NSSConfiguration& configuration) {
  if (in.fail()) return in;
  std::string line;
  // One line stream for all lines: building a stream per line would cost
  // more than the parse itself.
  std::istringstream words;
  while (std::getline(in, line)) {
    // The comment test comes before the trimming: an indented comment is
    // dropped later, as a line whose first word names no database.
    if (line.empty() || line[0] == '#') continue;
    const std::size_t start = line.find_first_not_of(" \t\r\n");
    if (start == std::string::npos) continue;
    line.erase(0, start);

    words.clear();
    words.str(line);
    std::string first;
    words >> first;
    // The last character is meant to be the colon; it is dropped whatever
    // it is (an empty word stays empty and names nothing).
    if (!first.empty()) first.pop_back();
    NSSDatabase database;
    try {
      database = NSSDatabase(first);
    } catch (const InvalidDatabaseException&) {
      continue;
    }
    ReadServices(words, line, configuration, database);
  }
  return in;
}

}  // namespace SystemConfiguration
