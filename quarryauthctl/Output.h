// Printing answers for people (aligned fields) and for programs (JSON).
#ifndef QUARRYAUTHCTL_OUTPUT_H
#define QUARRYAUTHCTL_OUTPUT_H

#include <deque>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace quarryauthctl {

// Keeps the keys in the order they were added.
using Json = nlohmann::ordered_json;

// The document, indented, on standard output.
void PrintJson(const Json& document);

// "label:" padded to a column, then the value ("(none)" when empty).
void PrintField(const std::string& label, const std::string& value);

// The words joined by single spaces.
std::string JoinWords(const std::deque<std::string>& words);
std::string JoinWords(const std::vector<std::string>& words);

}  // namespace quarryauthctl

#endif
