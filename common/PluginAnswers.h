// Shared by the directory plug-ins: answers handed back across the plug-in
// interface together with the function that releases them.
#ifndef QUARRY_PLUGIN_PLUGINANSWERS_H
#define QUARRY_PLUGIN_PLUGINANSWERS_H

#include <quarryauth/plugin/ActiveDirectoryClient.h>

#include <string>
#include <utility>
#include <vector>

namespace quarry::plugin {

// Status 8 (not enough memory) when a copy cannot be made.
const ADClientStatus kAnswerNotEnoughMemory = 8;

ADClientStatus AnswerText(const std::string& text, char** out,
                          ADClientReleaseFunction* release);
ADClientStatus AnswerTexts(const std::vector<std::string>& texts, char*** out,
                           ADClientReleaseFunction* release);
// Domains as (DNS name, NetBIOS name) pairs, in a null-terminated array.
ADClientStatus AnswerDomainNames(
    const std::vector<std::pair<std::string, std::string>>& names,
    ADClientDomainName*** out, ADClientReleaseFunction* release);

// Frees what AnswerDomainNames handed out (null is fine).
void ReleaseDomainNames(void* array);

// Names of domains and accounts compare without regard to case.
bool SameName(const std::string& left, const std::string& right);

}  // namespace quarry::plugin

#endif
