// The PAM service file model of namespace SystemConfiguration: the control
// and facility tokens of a rule, one rule (PAMEntry), the rules of one
// facility (PAMStack) and a whole service file (PAMPolicy), each parsed from
// and printed to standard streams.
//
// Several behaviours below look odd and are kept on purpose, because callers
// depend on them; each is marked "kept on purpose".
#ifndef QUARRYAUTH_SYSTEMCONFIGURATION_PAM_H
#define QUARRYAUTH_SYSTEMCONFIGURATION_PAM_H

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

// Raised for a control word that is no token and no bracketed list, and for
// converting a control value that has no token to text.
class QUARRYAUTH_SYSTEMCONFIGURATION_EXPORT InvalidControlException : public std::exception {
 public:
  InvalidControlException(const std::string& message);
  ~InvalidControlException() override;
  const char* what() const noexcept override;

 private:
  std::string message;
};

// Raised for a facility word that is no token (including "-session" and
// "@include"), and for converting a facility value without a token to text.
class QUARRYAUTH_SYSTEMCONFIGURATION_EXPORT InvalidFacilityException : public std::exception {
 public:
  InvalidFacilityException(const std::string& message);
  ~InvalidFacilityException() override;
  const char* what() const noexcept override;

 private:
  std::string message;
};

// The control field of a rule: a token ("required", ...) or a bracketed
// list of value=action pairs, kept whole as text.
class QUARRYAUTH_SYSTEMCONFIGURATION_EXPORT PAMControl {
 public:
  enum Control : std::uint32_t {
    Unset = 0,
    Required = 1,
    Requisite = 2,
    Sufficient = 3,
    Optional = 4,
    Include = 5,
    Substack = 6,
    Bracketed = 7,
  };

  // Value Unset, empty text.
  PAMControl();
  // The value as given, empty text; the value is not checked.
  PAMControl(Control control);
  // Value and text as given, unchecked.
  PAMControl(Control control, const std::string& text);
  // Parses word; keeps it as text only when it is a bracketed list. Throws
  // InvalidControlException("Invalid Control: " + word) for an unknown word.
  PAMControl(const std::string& word);
  PAMControl(const PAMControl& other);
  PAMControl(PAMControl&& other) noexcept;
  PAMControl& operator=(const PAMControl& other);
  PAMControl& operator=(PAMControl&& other) noexcept;

  // Sets the value and clears the text.
  PAMControl& operator=(Control control);
  // Parses word; takes it as text only when it is a bracketed list, and
  // otherwise leaves the previous text in place (kept on purpose).
  PAMControl& operator=(const std::string& word);

  // For a bracketed control: the other is bracketed too and the texts are
  // equal. Otherwise: the values are equal.
  bool operator==(const PAMControl& other) const;
  // For a bracketed control: the text equals word. Otherwise word is parsed
  // (an unknown word throws) and the values are compared.
  bool operator==(const std::string& word) const;
  // The values are equal (the text plays no part). An addition;
  // it makes "control == PAMControl::Required" unambiguous.
  bool operator==(Control control) const;

  // The token of the value, or the text of a bracketed control. A value
  // without a token throws InvalidControlException whose message is
  // "Invalid Control: " with its first N characters dropped, N being the
  // value (kept on purpose).
  operator std::string() const;
  operator Control() const;

  // An addition: the text as held, without conversion (so an
  // old bracketed text kept by operator=(const std::string&) shows).
  const std::string& text() const;

 private:
  Control control;
  std::string text_;
};

// The management group of a rule.
class QUARRYAUTH_SYSTEMCONFIGURATION_EXPORT PAMFacility {
 public:
  // The numbers decide the order of the stacks in a written policy.
  enum Facility : std::uint32_t {
    Unset = 0,
    Account = 1,
    Auth = 2,
    Password = 3,
    Session = 4,
  };

  PAMFacility();
  PAMFacility(Facility facility);
  PAMFacility(const PAMFacility& other);
  // Parses word; throws InvalidFacilityException("Invalid Facility: " +
  // word) for an unknown word.
  PAMFacility(const std::string& word);
  PAMFacility& operator=(const PAMFacility& other);
  PAMFacility& operator=(Facility facility);
  // Parses word; an unknown word throws and leaves the object as it was.
  PAMFacility& operator=(const std::string& word);

  bool operator==(const PAMFacility& other) const;
  // Parses word (an unknown word throws) and compares the values.
  bool operator==(const std::string& word) const;
  // An addition; makes "facility == PAMFacility::Auth"
  // unambiguous.
  bool operator==(Facility facility) const;

  // The token; a value without one throws InvalidFacilityException whose
  // message is "Invalid Facility: " with its first N characters dropped, N
  // being the value (kept on purpose).
  operator std::string() const;
  operator Facility() const;

 private:
  Facility facility;
};

// Writes the facility's token.
QUARRYAUTH_SYSTEMCONFIGURATION_EXPORT std::ostream& operator<<(std::ostream& out,
                                           const PAMFacility& facility);
// Reads one word and assigns it through the string parse (an empty word from
// an exhausted stream throws too).
QUARRYAUTH_SYSTEMCONFIGURATION_EXPORT std::istream& operator>>(std::istream& in,
                                           PAMFacility& facility);

class PAMEntry;
class PAMPolicy;

// Control text, tab, module, tab, then each argument followed by a space; no
// line end. A control of value Unset throws InvalidControlException.
QUARRYAUTH_SYSTEMCONFIGURATION_EXPORT std::ostream& operator<<(std::ostream& out,
                                           const PAMEntry& entry);
// Reads a control (a bracketed list may run over several words and lines),
// the next word as module (possibly from the next line), and the rest of
// that line as arguments, appended to those already held.
QUARRYAUTH_SYSTEMCONFIGURATION_EXPORT std::istream& operator>>(std::istream& in, PAMEntry& entry);

// "#%PAM-1.0", an empty line, then each stack followed by an empty line.
QUARRYAUTH_SYSTEMCONFIGURATION_EXPORT std::ostream& operator<<(std::ostream& out,
                                           const PAMPolicy& policy);
// Adds the rules of a service file; comments and blank lines are skipped.
// Exceptions of the token parses pass through, leaving the rules read
// before the failing line in the policy.
QUARRYAUTH_SYSTEMCONFIGURATION_EXPORT std::istream& operator>>(std::istream& in,
                                           PAMPolicy& policy);

// One rule without its facility word: control, module and arguments.
class QUARRYAUTH_SYSTEMCONFIGURATION_EXPORT PAMEntry {
 public:
  PAMEntry();
  PAMEntry(PAMControl control, std::string module);
  PAMEntry(const PAMEntry& other);
  PAMEntry(PAMEntry&& other) noexcept;
  PAMEntry& operator=(const PAMEntry& other);
  PAMEntry& operator=(PAMEntry&& other) noexcept;

  const std::string& module() const;
  std::list<std::string>& parameters();
  // An addition: read access to the control.
  const PAMControl& control() const;

  // Control values, modules and argument lists equal; the text of a
  // bracketed control plays no part (kept on purpose).
  bool operator==(const PAMEntry& other) const;

  friend std::ostream& operator<<(std::ostream& out, const PAMEntry& entry);
  friend std::istream& operator>>(std::istream& in, PAMEntry& entry);

 private:
  PAMControl control_;
  std::string module_;
  std::list<std::string> parameters_;
};

// The rules of one facility, in order.
class QUARRYAUTH_SYSTEMCONFIGURATION_EXPORT PAMStack : public std::deque<PAMEntry> {
 public:
  PAMStack();
  PAMStack(const PAMFacility& facility);
  PAMStack(const PAMStack& other);
  PAMStack(PAMStack&& other);
  PAMStack& operator=(const PAMStack& other);
  PAMStack& operator=(PAMStack&& other);
  ~PAMStack();

  PAMFacility Facility() const;

  // The first rule whose module equals module byte for byte, or end().
  iterator find(const std::string& module);
  const_iterator find(const std::string& module) const;

 private:
  PAMFacility facility;
};

// One line per rule: facility token, tab, the rule, line end. A stack of
// facility Unset with rules throws InvalidFacilityException.
QUARRYAUTH_SYSTEMCONFIGURATION_EXPORT std::ostream& operator<<(std::ostream& out,
                                           const PAMStack& stack);

// A PAM service file: one stack per facility, written in the order account,
// auth, password, session.
class QUARRYAUTH_SYSTEMCONFIGURATION_EXPORT PAMPolicy {
 public:
  PAMPolicy(const std::string& name);
  PAMPolicy(const PAMPolicy& other);
  PAMPolicy(PAMPolicy&& other);
  PAMPolicy& operator=(const PAMPolicy& other);
  PAMPolicy& operator=(PAMPolicy&& other);
  ~PAMPolicy();

  // The stack of facility, inserted empty when the policy has none (and
  // then written out as an empty line).
  PAMStack& operator[](PAMFacility facility);

  // An addition: the service name given at construction.
  const std::string& name() const;

  friend std::ostream& operator<<(std::ostream& out, const PAMPolicy& policy);
  friend std::istream& operator>>(std::istream& in, PAMPolicy& policy);

 private:
  struct FacilityOrder {
    bool operator()(const PAMFacility& left, const PAMFacility& right) const;
  };

  std::string name_;
  std::map<PAMFacility, PAMStack, FacilityOrder> stacks;
};

}  // namespace SystemConfiguration

#endif
