#include "common/PluginText.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <sstream>

namespace quarry::plugin {

char* CopyText(const std::string& text) {
  char* copy = static_cast<char*>(std::malloc(text.size() + 1));
  if (copy != nullptr) std::memcpy(copy, text.c_str(), text.size() + 1);
  return copy;
}

char** CopyTextArray(const std::vector<std::string>& texts) {
  char** array =
      static_cast<char**>(std::calloc(texts.size() + 1, sizeof(char*)));
  if (array == nullptr) return nullptr;
  for (std::size_t i = 0; i < texts.size(); ++i) {
    array[i] = CopyText(texts[i]);
    if (array[i] == nullptr) {
      ReleaseTextArray(array);
      return nullptr;
    }
  }
  return array;
}

void ReleaseText(void* text) { std::free(text); }

void ReleaseTextArray(void* array) {
  if (array == nullptr) return;
  char** texts = static_cast<char**>(array);
  for (char** text = texts; *text != nullptr; ++text) std::free(*text);
  std::free(texts);
}

std::vector<std::string> TextsOf(const char* const* array) {
  std::vector<std::string> texts;
  for (; array != nullptr && *array != nullptr; ++array) {
    texts.emplace_back(*array);
  }
  return texts;
}

std::vector<std::string> SplitWords(const std::string& text) {
  std::istringstream in(text);
  std::vector<std::string> words;
  std::string word;
  while (in >> word) words.push_back(word);
  return words;
}

std::string JoinWords(const std::vector<std::string>& words) {
  std::string joined;
  for (const auto& word : words) joined += (joined.empty() ? "" : " ") + word;
  return joined;
}

std::string ToUpper(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return std::toupper(c); });
  return text;
}

std::string ToLower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return std::tolower(c); });
  return text;
}

}  // namespace quarry::plugin
