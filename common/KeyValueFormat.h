// The key-value line format shared by the library's configuration files and
// the platform's own settings files: key = "value", one pair a line.
#ifndef QUARRY_COMMON_KEYVALUEFORMAT_H
#define QUARRY_COMMON_KEYVALUEFORMAT_H

#include <istream>
#include <map>
#include <ostream>
#include <string>

namespace quarry::common {

enum class KeyValueError { None, NoDelimiter, InvalidQuoting };

// True when the line holds nothing but spaces and tabs.
bool IsBlankLine(const std::string& line);

// Splits one line into its key and value. On an error, key and value are
// left unspecified.
KeyValueError ParseKeyValueLine(const std::string& line, std::string& key,
                                std::string& value);

// The text that reports a parse error of the given line.
std::string KeyValueErrorMessage(KeyValueError error, int lineNumber);

// Reads every pair of a stream into pairs; the first occurrence of a key
// wins. Stops at the first malformed line and reports it through
// failedLine.
KeyValueError ReadKeyValueStream(std::istream& in,
                                 std::map<std::string, std::string>& pairs,
                                 int& failedLine);

// Writes one pair as the reader expects it: key = "value".
void WriteKeyValueLine(std::ostream& out, const std::string& key,
                       const std::string& value);

}  // namespace quarry::common

#endif
