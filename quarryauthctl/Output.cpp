#include "Output.h"

#include <iomanip>
#include <iostream>

namespace quarryauthctl {

namespace {

const int kLabelWidth = 30;

template <class Words>
std::string Join(const Words& words) {
  std::string joined;
  for (const auto& word : words) joined += (joined.empty() ? "" : " ") + word;
  return joined;
}

}  // namespace

void PrintJson(const Json& document) { std::cout << document.dump(2) << '\n'; }

void PrintField(const std::string& label, const std::string& value) {
  std::cout << std::left << std::setw(kLabelWidth) << (label + ":")
            << (value.empty() ? "(none)" : value) << '\n';
}

std::string JoinWords(const std::deque<std::string>& words) {
  return Join(words);
}

std::string JoinWords(const std::vector<std::string>& words) {
  return Join(words);
}

}  // namespace quarryauthctl
