// Shared by the plug-ins: strings and string lists handed across the plug-in interface, allocated
// with malloc so that the plug-ins' release functions can free them.
#ifndef QUARRY_PLUGIN_PLUGINTEXT_H
#define QUARRY_PLUGIN_PLUGINTEXT_H

#include <string>
#include <vector>

namespace quarry::plugin {

// A malloc'ed copy; null when memory runs out.
char* CopyText(const std::string& text);
// A malloc'ed, null-terminated array of malloc'ed copies; null when memory
// runs out.
char** CopyTextArray(const std::vector<std::string>& texts);
// Frees what CopyText returned (null is fine).
void ReleaseText(void* text);
// Frees what CopyTextArray returned, elements included (null is fine).
void ReleaseTextArray(void* array);

// The entries of a null-terminated array (null gives none).
std::vector<std::string> TextsOf(const char* const* array);
// White-space-separated words.
std::vector<std::string> SplitWords(const std::string& text);
// The words joined by single spaces.
std::string JoinWords(const std::vector<std::string>& words);
std::string ToUpper(std::string text);
std::string ToLower(std::string text);

}  // namespace quarry::plugin

#endif
