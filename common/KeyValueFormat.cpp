#include "common/KeyValueFormat.h"

namespace quarry::common {

namespace {

// Only space and tab separate; a carriage return is part of the text.
const char kWhitespace[] = " \t";

bool IsQuote(char c) { return c == '"' || c == '\''; }

KeyValueError CleanText(std::string& text) {
  const std::string::size_type first = text.find_first_not_of(kWhitespace);
  if (first == std::string::npos) return KeyValueError::None;  // kept as is
  const std::string::size_type last = text.find_last_not_of(kWhitespace);
  if (first == last) {
    if (IsQuote(text[first])) return KeyValueError::InvalidQuoting;
    text = text.substr(first, 1);
    return KeyValueError::None;
  }
  if (IsQuote(text[first]) && text[last] == text[first]) {
    text = text.substr(first + 1, last - first - 1);
  } else {
    text = text.substr(first, last - first + 1);
  }
  return KeyValueError::None;
}

}  // namespace

bool IsBlankLine(const std::string& line) {
  return line.find_first_not_of(kWhitespace) == std::string::npos;
}

KeyValueError ParseKeyValueLine(const std::string& line, std::string& key,
                                std::string& value) {
  const std::string::size_type delimiter = line.find('=');
  if (delimiter == std::string::npos) return KeyValueError::NoDelimiter;
  value = line.substr(delimiter + 1);
  key = line.substr(0, delimiter);
  // The value is cleaned first so that its quoting error is the one reported.
  KeyValueError error = CleanText(value);
  if (error != KeyValueError::None) return error;
  return CleanText(key);
}

std::string KeyValueErrorMessage(KeyValueError error, int lineNumber) {
  switch (error) {
    case KeyValueError::NoDelimiter:
      return "Error parsing configuration on line " +
             std::to_string(lineNumber) + ": no delimiter found";
    case KeyValueError::InvalidQuoting:
      return "Error parsing configuration at line " +
             std::to_string(lineNumber) + ": invalid quoting";
    case KeyValueError::None:
      break;
  }
  return std::string();
}

KeyValueError ReadKeyValueStream(std::istream& in,
                                 std::map<std::string, std::string>& pairs,
                                 int& failedLine) {
  std::string line;
  int lineNumber = 0;
  while (std::getline(in, line)) {
    ++lineNumber;
    if (IsBlankLine(line)) continue;
    std::string key;
    std::string value;
    const KeyValueError error = ParseKeyValueLine(line, key, value);
    if (error != KeyValueError::None) {
      failedLine = lineNumber;
      return error;
    }
    pairs.emplace(std::move(key), std::move(value));
  }
  return KeyValueError::None;
}

void WriteKeyValueLine(std::ostream& out, const std::string& key,
                       const std::string& value) {
  out << key << " = \"" << value << "\"\n";
}

}  // namespace quarry::common
