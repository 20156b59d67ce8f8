#include <quarryauth/systemconfiguration/PAM.h>

#include <array>
#include <cstddef>
#include <limits>
#include <string_view>
#include <utility>

#include "systemconfiguration/Tokens.h"

namespace SystemConfiguration {

using internal::DropLeading;
using internal::FindToken;
using internal::FindValue;
using internal::IsSpace;
using internal::SplitWords;
using internal::TokenRow;

namespace {

// The token tables, in their fixed row order; lookups walk them front to
// back. Constant-initialised: they exist before any code of the library
// runs, so even a caller's own static initialisers may use the classes.
using ControlRow = TokenRow<PAMControl::Control>;
constexpr std::array<ControlRow, 6> kControlTable = {{
    {PAMControl::Required, "required"},
    {PAMControl::Requisite, "requisite"},
    {PAMControl::Sufficient, "sufficient"},
    {PAMControl::Optional, "optional"},
    {PAMControl::Include, "include"},
    {PAMControl::Substack, "substack"},
}};

// "auth" comes first although its number is 2: the numbers, not this order,
// decide the order of the stacks in a written policy.
using FacilityRow = TokenRow<PAMFacility::Facility>;
constexpr std::array<FacilityRow, 4> kFacilityTable = {{
    {PAMFacility::Auth, "auth"},
    {PAMFacility::Account, "account"},
    {PAMFacility::Password, "password"},
    {PAMFacility::Session, "session"},
}};

constexpr char kInvalidControl[] = "Invalid Control: ";
constexpr char kInvalidFacility[] = "Invalid Facility: ";
constexpr char kPolicyHeader[] = "#%PAM-1.0";

bool IsBracketed(const std::string& word) {
  return !word.empty() && word.front() == '[' && word.back() == ']';
}

PAMControl::Control ParseControl(const std::string& word) {
  if (IsBracketed(word)) return PAMControl::Bracketed;
  PAMControl::Control value;
  if (FindValue(kControlTable, word, value)) return value;
  throw InvalidControlException(kInvalidControl + word);
}

PAMFacility::Facility ParseFacility(const std::string& word) {
  PAMFacility::Facility value;
  if (FindValue(kFacilityTable, word, value)) return value;
  throw InvalidFacilityException(kInvalidFacility + word);
}

}  // namespace

// --- exceptions -----------------------------------------------------------

InvalidControlException::InvalidControlException(const std::string& message)
    : message(message) {}

InvalidControlException::~InvalidControlException() = default;

const char* InvalidControlException::what() const noexcept {
  return message.c_str();
}

InvalidFacilityException::InvalidFacilityException(const std::string& message)
    : message(message) {}

InvalidFacilityException::~InvalidFacilityException() = default;

const char* InvalidFacilityException::what() const noexcept {
  return message.c_str();
}

// --- PAMControl -----------------------------------------------------------

PAMControl::PAMControl() : control(Unset) {}

PAMControl::PAMControl(Control control) : control(control) {}

PAMControl::PAMControl(Control control, const std::string& text)
    : control(control), text_(text) {}

PAMControl::PAMControl(const std::string& word) : control(ParseControl(word)) {
  if (control == Bracketed) text_ = word;
}

PAMControl::PAMControl(const PAMControl& other) = default;

PAMControl::PAMControl(PAMControl&& other) noexcept = default;

PAMControl& PAMControl::operator=(const PAMControl& other) = default;

PAMControl& PAMControl::operator=(PAMControl&& other) noexcept = default;

PAMControl& PAMControl::operator=(Control value) {
  control = value;
  text_.clear();
  return *this;
}

PAMControl& PAMControl::operator=(const std::string& word) {
  const Control value = ParseControl(word);
  if (value == Bracketed) text_ = word;  // otherwise the old text stays
  control = value;
  return *this;
}

bool PAMControl::operator==(const PAMControl& other) const {
  if (control != Bracketed) return control == other.control;
  return other.control == Bracketed && text_ == other.text_;
}

bool PAMControl::operator==(const std::string& word) const {
  if (control == Bracketed) return text_ == word;
  return control == ParseControl(word);
}

bool PAMControl::operator==(Control value) const { return control == value; }

PAMControl::operator std::string() const {
  if (control == Bracketed) return text_;
  std::string_view token;
  if (FindToken(kControlTable, control, token)) return std::string(token);
  throw InvalidControlException(DropLeading(kInvalidControl, control));
}

PAMControl::operator Control() const { return control; }

const std::string& PAMControl::text() const { return text_; }

// --- PAMFacility ----------------------------------------------------------

QUARRY_DEFINE_TOKEN_CLASS_MEMBERS(PAMFacility, Facility, facility,
                                  ParseFacility, kFacilityTable,
                                  InvalidFacilityException, kInvalidFacility)

std::ostream& operator<<(std::ostream& out, const PAMFacility& facility) {
  return out << static_cast<std::string>(facility);
}

std::istream& operator>>(std::istream& in, PAMFacility& facility) {
  std::string word;
  in >> word;
  facility = word;
  return in;
}

// --- PAMEntry -------------------------------------------------------------

PAMEntry::PAMEntry() = default;

PAMEntry::PAMEntry(PAMControl control, std::string module)
    : control_(std::move(control)), module_(std::move(module)) {}

PAMEntry::PAMEntry(const PAMEntry& other) = default;

PAMEntry::PAMEntry(PAMEntry&& other) noexcept = default;

PAMEntry& PAMEntry::operator=(const PAMEntry& other) = default;

PAMEntry& PAMEntry::operator=(PAMEntry&& other) noexcept = default;

const std::string& PAMEntry::module() const { return module_; }

std::list<std::string>& PAMEntry::parameters() { return parameters_; }

const PAMControl& PAMEntry::control() const { return control_; }

bool PAMEntry::operator==(const PAMEntry& other) const {
  // The values only: a bracketed control's text is not compared.
  return static_cast<PAMControl::Control>(control_) ==
             static_cast<PAMControl::Control>(other.control_) &&
         module_ == other.module_ && parameters_ == other.parameters_;
}

std::ostream& operator<<(std::ostream& out, const PAMEntry& entry) {
  out << static_cast<std::string>(entry.control_) << '\t' << entry.module_
      << '\t';
  for (const std::string& parameter : entry.parameters_) {
    out << parameter << ' ';
  }
  return out;
}

std::istream& operator>>(std::istream& in, PAMEntry& entry) {
  std::string text;
  in >> text;
  // A bracketed list runs on, word by word and across line ends, up to the
  // word that closes it; its white space collapses to single spaces.
  if (!text.empty() && text.front() == '[' && text.back() != ']') {
    for (;;) {
      std::string word;
      in >> word;
      if (in.fail() || word.empty()) break;
      text += ' ';
      text += word;
      if (word.back() == ']') break;
    }
  }
  entry.control_ = PAMControl(text);
  // The module is the next word wherever it is, on this line or a later
  // one; a failed read leaves the old module.
  in >> entry.module_;
  std::string rest;
  std::getline(in, rest);
  // Arguments are appended, never cleared first.
  SplitWords(rest, entry.parameters_);
  return in;
}

// --- PAMStack -------------------------------------------------------------

PAMStack::PAMStack() = default;

PAMStack::PAMStack(const PAMFacility& facility) : facility(facility) {}

PAMStack::PAMStack(const PAMStack& other) = default;

PAMStack::PAMStack(PAMStack&& other) = default;

PAMStack& PAMStack::operator=(const PAMStack& other) = default;

PAMStack& PAMStack::operator=(PAMStack&& other) = default;

PAMStack::~PAMStack() = default;

PAMFacility PAMStack::Facility() const { return facility; }

PAMStack::iterator PAMStack::find(const std::string& module) {
  for (iterator entry = begin(); entry != end(); ++entry) {
    if (entry->module() == module) return entry;
  }
  return end();
}

PAMStack::const_iterator PAMStack::find(const std::string& module) const {
  for (const_iterator entry = begin(); entry != end(); ++entry) {
    if (entry->module() == module) return entry;
  }
  return end();
}

std::ostream& operator<<(std::ostream& out, const PAMStack& stack) {
  for (const PAMEntry& entry : stack) {
    out << stack.Facility() << '\t' << entry << std::endl;
  }
  return out;
}

// --- PAMPolicy ------------------------------------------------------------

bool PAMPolicy::FacilityOrder::operator()(const PAMFacility& left,
                                          const PAMFacility& right) const {
  return static_cast<PAMFacility::Facility>(left) <
         static_cast<PAMFacility::Facility>(right);
}

PAMPolicy::PAMPolicy(const std::string& name) : name_(name) {}

PAMPolicy::PAMPolicy(const PAMPolicy& other) = default;

PAMPolicy::PAMPolicy(PAMPolicy&& other) = default;

PAMPolicy& PAMPolicy::operator=(const PAMPolicy& other) = default;

PAMPolicy& PAMPolicy::operator=(PAMPolicy&& other) = default;

PAMPolicy::~PAMPolicy() = default;

PAMStack& PAMPolicy::operator[](PAMFacility facility) {
  auto found = stacks.find(facility);
  if (found == stacks.end()) {
    found = stacks.emplace(facility, PAMStack(facility)).first;
  }
  return found->second;
}

const std::string& PAMPolicy::name() const { return name_; }

std::ostream& operator<<(std::ostream& out, const PAMPolicy& policy) {
  out << kPolicyHeader << std::endl << std::endl;
  for (const auto& facilityAndStack : policy.stacks) {
    out << facilityAndStack.second << std::endl;
  }
  return out;
}

std::istream& operator>>(std::istream& in, PAMPolicy& policy) {
  using Traits = std::istream::traits_type;
  if (in.fail()) return in;
  do {
    Traits::int_type next = in.peek();
    while (!Traits::eq_int_type(next, Traits::eof()) && IsSpace(next)) {
      in.get();
      next = in.peek();
    }
    // A "#" first on a line (the header included) makes the line a comment.
    if (Traits::eq_int_type(next, Traits::to_int_type('#'))) {
      in.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
      continue;
    }
    if (Traits::eq_int_type(next, Traits::eof())) break;
    std::string word;
    in >> word;
    const PAMFacility facility(word);
    PAMEntry entry;
    in >> entry;
    policy[facility].push_back(std::move(entry));
  } while (!in.fail() && !in.bad());
  return in;
}

}  // namespace SystemConfiguration
