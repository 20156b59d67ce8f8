// Helpers shared by the PAM and name-service models: token tables of
// (value, token) rows, the white space of the file formats and the odd
// message of a value without a token. Internal; never installed.
#ifndef QUARRYAUTH_SYSTEMCONFIGURATION_TOKENS_H
#define QUARRYAUTH_SYSTEMCONFIGURATION_TOKENS_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace SystemConfiguration {
namespace internal {

template <class Value>
struct TokenRow {
  Value value;
  std::string_view token;
};

// The first row, in table order, whose token equals word exactly
// (case-sensitive, same length).
template <class Table, class Value>
bool FindValue(const Table& table, const std::string& word, Value& value) {
  for (const auto& row : table) {
    if (row.token == word) {
      value = row.value;
      return true;
    }
  }
  return false;
}

template <class Table, class Value>
bool FindToken(const Table& table, Value value, std::string_view& token) {
  for (const auto& row : table) {
    if (row.value == value) {
      token = row.token;
      return true;
    }
  }
  return false;
}

// The message of converting a value without a row to text: the literal with
// its first `value` characters dropped (so value 0 gives the whole literal).
// Values past the literal's end are not supported; they give
// the empty message here instead of reading out of bounds.
inline std::string DropLeading(const char* literal, std::uint32_t value) {
  const std::size_t length = std::strlen(literal);
  if (value >= length) return std::string();
  return std::string(literal + value, length - value);
}

// The standard white space: space, tab, line feed, vertical tab, form feed
// and carriage return (what word extraction skips in the "C" locale).
inline bool IsSpace(int character) {
  return character == ' ' || character == '\t' || character == '\n' ||
         character == '\v' || character == '\f' || character == '\r';
}

// Appends the white-space separated words of text to words.
template <class Container>
void SplitWords(const std::string& text, Container& words) {
  std::size_t position = 0;
  const std::size_t size = text.size();
  while (position < size) {
    while (position < size &&
           IsSpace(static_cast<unsigned char>(text[position]))) {
      ++position;
    }
    const std::size_t start = position;
    while (position < size &&
           !IsSpace(static_cast<unsigned char>(text[position]))) {
      ++position;
    }
    if (position > start) words.push_back(text.substr(start, position - start));
  }
}

}  // namespace internal
}  // namespace SystemConfiguration

// The members that every token class (a value with a table of tokens, such
// as NSSDatabase and PAMFacility) defines alike: construction and
// assignment from the value or its token, comparison, and conversion to
// the token (Invalid with the table's odd message when the value has none).
#define QUARRY_DEFINE_TOKEN_CLASS_MEMBERS(Class, Value, member, Parse, table,  \
                                          Invalid, invalidLiteral)            \
  Class::Class() : member(Unset) {}                                          \
  Class::Class(Value value) : member(value) {}                               \
  Class::Class(const Class& other) = default;                                \
  Class::Class(const std::string& word) : member(Parse(word)) {}             \
  Class& Class::operator=(const Class& other) = default;                     \
  Class& Class::operator=(Value value) {                                     \
    member = value;                                                          \
    return *this;                                                            \
  }                                                                          \
  Class& Class::operator=(const std::string& word) {                         \
    member = Parse(word);                                                    \
    return *this;                                                            \
  }                                                                          \
  bool Class::operator==(const Class& other) const {                         \
    return member == other.member;                                           \
  }                                                                          \
  bool Class::operator==(const std::string& word) const {                    \
    return member == Parse(word);                                            \
  }                                                                          \
  bool Class::operator==(Value value) const { return member == value; }      \
  Class::operator std::string() const {                                      \
    std::string_view token;                                                  \
    if (internal::FindToken(table, member, token)) return std::string(token); \
    throw Invalid(internal::DropLeading(invalidLiteral, member));            \
  }                                                                          \
  Class::operator Value() const { return member; }

#endif
