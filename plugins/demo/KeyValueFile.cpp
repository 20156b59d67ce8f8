#include "KeyValueFile.h"

#include <fstream>
#include <sstream>

#include "common/DurableFile.h"
#include "common/KeyValueFormat.h"

namespace quarrydemo {

namespace {

bool IsComment(const std::string& line) {
  const auto first = line.find_first_not_of(" \t");
  return first != std::string::npos && line[first] == '#';
}

}  // namespace

KeyValues ReadKeyValueFile(const std::string& path) {
  KeyValues pairs;
  std::ifstream in(path);
  std::string line;
  while (std::getline(in, line)) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (quarry::common::IsBlankLine(line) || IsComment(line)) continue;
    std::string key, value;
    // The demonstration is lenient: a line it cannot read is skipped.
    if (quarry::common::ParseKeyValueLine(line, key, value) !=
        quarry::common::KeyValueError::None) {
      continue;
    }
    pairs.emplace(key, value);
  }
  return pairs;
}

int ReplaceKeyValueFile(const std::string& path, const KeyValues& pairs) {
  std::ostringstream text;
  for (const auto& pair : pairs) {
    quarry::common::WriteKeyValueLine(text, pair.first, pair.second);
  }
  return quarry::common::ReplaceFileContents(path, text.str(), 0600);
}

std::string ValueOr(const KeyValues& pairs, const std::string& key,
                    const std::string& fallback) {
  const auto found = pairs.find(key);
  return found == pairs.end() ? fallback : found->second;
}

}  // namespace quarrydemo
