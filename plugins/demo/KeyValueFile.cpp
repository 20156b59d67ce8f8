#include "KeyValueFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>

namespace quarrydemo {

namespace {

const char kBlanks[] = " \t\r";

std::string Trim(const std::string& text) {
  const auto first = text.find_first_not_of(kBlanks);
  if (first == std::string::npos) return std::string();
  const auto last = text.find_last_not_of(kBlanks);
  return text.substr(first, last - first + 1);
}

std::string Unquote(const std::string& text) {
  if (text.size() >= 2 && (text.front() == '"' || text.front() == '\'') &&
      text.back() == text.front()) {
    return text.substr(1, text.size() - 2);
  }
  return text;
}

bool WriteAll(int descriptor, const std::string& text) {
  std::size_t written = 0;
  while (written < text.size()) {
    const ssize_t n =
        ::write(descriptor, text.data() + written, text.size() - written);
    if (n <= 0) return false;
    written += static_cast<std::size_t>(n);
  }
  return true;
}

}  // namespace

KeyValues ReadKeyValueFile(const std::string& path) {
  KeyValues pairs;
  std::ifstream in(path);
  std::string line;
  while (std::getline(in, line)) {
    const std::string trimmed = Trim(line);
    if (trimmed.empty() || trimmed[0] == '#') continue;
    const auto equals = trimmed.find('=');
    if (equals == std::string::npos) continue;
    pairs.emplace(Trim(trimmed.substr(0, equals)),
                  Unquote(Trim(trimmed.substr(equals + 1))));
  }
  return pairs;
}

bool ReplaceKeyValueFile(const std::string& path, const KeyValues& pairs) {
  std::string text;
  for (const auto& pair : pairs) {
    text += pair.first + " = \"" + pair.second + "\"\n";
  }
  std::string temporary = path + ".XXXXXX";
  const int descriptor = ::mkstemp(&temporary[0]);
  if (descriptor < 0) return false;
  const bool written = WriteAll(descriptor, text) && ::fsync(descriptor) == 0;
  const bool closed = ::close(descriptor) == 0;
  if (!written || !closed ||
      std::rename(temporary.c_str(), path.c_str()) != 0) {
    ::unlink(temporary.c_str());
    return false;
  }
  return true;
}

std::string ValueOr(const KeyValues& pairs, const std::string& key,
                    const std::string& fallback) {
  const auto found = pairs.find(key);
  return found == pairs.end() ? fallback : found->second;
}

}  // namespace quarrydemo
