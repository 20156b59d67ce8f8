// The name-service switch file model of namespace SystemConfiguration: the
// database tokens, one service with its status criteria (NSSService) and the
// whole file (NSSConfiguration), parsed from and printed to standard streams.
//
// The reader keeps several odd rules on purpose (see operator>> below);
// callers depend on them.
#ifndef QUARRYAUTH_SYSTEMCONFIGURATION_NSS_H
#define QUARRYAUTH_SYSTEMCONFIGURATION_NSS_H

#include <cstdint>
#include <deque>
#include <exception>
#include <istream>
#include <list>
#include <map>
#include <ostream>
#include <string>

#include "Export.h"

namespace SystemConfiguration {

// Raised for a database word that is no token, and for converting a value
// without a token to text.
class QUARRYAUTH_SYSTEMCONFIGURATION_EXPORT InvalidDatabaseException : public std::exception {
 public:
  InvalidDatabaseException(const std::string& message);
  ~InvalidDatabaseException() override;
  const char* what() const noexcept override;

 private:
  std::string message;
};

class QUARRYAUTH_SYSTEMCONFIGURATION_EXPORT NSSDatabase {
 public:
  // The numbers decide the order of the lines in a written file.
  enum Database : std::uint32_t {
    Unset = 0,
    Passwd = 1,
    Group = 2,
    Shadow = 3,
    Hosts = 4,
    Netmasks = 5,
    Networks = 6,
    Protocols = 7,
    Services = 8,
    Ethers = 9,
    Rpc = 10,
    Netgroup = 11,
    Bootparams = 12,
    Publickey = 13,
    Automount = 14,
    Aliases = 15,
  };

  NSSDatabase();
  NSSDatabase(Database database);
  NSSDatabase(const NSSDatabase& other);
  // Parses word; throws InvalidDatabaseException("Invalid Database: " +
  // word) for an unknown word.
  NSSDatabase(const std::string& word);
  NSSDatabase& operator=(const NSSDatabase& other);
  NSSDatabase& operator=(Database database);
  // Parses word; an unknown word throws and leaves the object as it was.
  NSSDatabase& operator=(const std::string& word);

  bool operator==(const NSSDatabase& other) const;
  // Parses word (an unknown word throws) and compares the values.
  bool operator==(const std::string& word) const;
  // An addition; makes "database == NSSDatabase::Hosts"
  // unambiguous.
  bool operator==(Database database) const;

  // The token; a value without one throws InvalidDatabaseException whose
  // message is "Invalid Database: " with its first N characters dropped, N
  // being the value (kept on purpose).
  operator std::string() const;
  operator Database() const;

 private:
  Database database;
};

class NSSService;
class NSSConfiguration;

// The module, then " [" + the criteria joined by spaces + "]" when there
// are any.
QUARRYAUTH_SYSTEMCONFIGURATION_EXPORT std::ostream& operator<<(std::ostream& out,
                                           const NSSService& service);

// One line per database in ascending number: token, ":", then " " and each
// service; an empty queue gives the token and ":" alone.
QUARRYAUTH_SYSTEMCONFIGURATION_EXPORT std::ostream& operator<<(
    std::ostream& out, const NSSConfiguration& configuration);

// Adds the databases and services of a name-service switch file; queues are
// appended to. Kept on purpose:
// - a "#" counts as a comment only as a line's very first character;
// - the first word's last character is dropped whatever it is, so
//   "passwdX" names passwd; lines naming no database are skipped silently;
// - after a service word at index p, the line stream moves to p + 1 + the
//   index of the first "]" at or after p + 1 (stays when there is none), so
//   the words after a bracketed criteria list are usually ignored;
// - a service word followed by exactly one trailing character (a space, a
//   carriage return) throws std::out_of_range.
QUARRYAUTH_SYSTEMCONFIGURATION_EXPORT std::istream& operator>>(std::istream& in,
                                           NSSConfiguration& configuration);

// One service of a database, with its status criteria.
class QUARRYAUTH_SYSTEMCONFIGURATION_EXPORT NSSService {
 public:
  // No criteria. (The default argument, an addition, also
  // makes a default constructor.)
  NSSService(const std::string& module = std::string());
  NSSService(const NSSService& other);
  NSSService(NSSService&& other) noexcept;
  NSSService& operator=(const NSSService& other);
  NSSService& operator=(NSSService&& other) noexcept;
  ~NSSService();

  const std::string& module() const;
  // The words between the brackets, without the brackets.
  std::list<std::string>& parameters();

  bool operator==(const NSSService& other) const;

  friend std::ostream& operator<<(std::ostream& out, const NSSService& service);

 private:
  std::string module_;
  std::list<std::string> parameters_;
};

class QUARRYAUTH_SYSTEMCONFIGURATION_EXPORT NSSConfiguration {
 public:
  NSSConfiguration();
  NSSConfiguration(const NSSConfiguration& other);
  NSSConfiguration(NSSConfiguration&& other);
  NSSConfiguration& operator=(const NSSConfiguration& other);
  NSSConfiguration& operator=(NSSConfiguration&& other);
  ~NSSConfiguration();

  // The services of database, an empty queue inserted when absent (and then
  // written out as "token:").
  std::deque<NSSService>& operator[](NSSDatabase database);

  friend std::ostream& operator<<(std::ostream& out,
                                  const NSSConfiguration& configuration);
  friend std::istream& operator>>(std::istream& in,
                                  NSSConfiguration& configuration);

 private:
  struct DatabaseOrder {
    bool operator()(const NSSDatabase& left, const NSSDatabase& right) const;
  };

  std::map<NSSDatabase, std::deque<NSSService>, DatabaseOrder> databases;
};

}  // namespace SystemConfiguration

#endif
