#include "common/PluginAnswers.h"

#include "common/PluginText.h"

namespace quarry::plugin {

ADClientStatus AnswerText(const std::string& text, char** out,
                          ADClientReleaseFunction* release) {
  *release = ReleaseText;
  *out = CopyText(text);
  return *out == nullptr ? kAnswerNotEnoughMemory : ADCLIENT_STATUS_SUCCESS;
}

ADClientStatus AnswerTexts(const std::vector<std::string>& texts, char*** out,
                           ADClientReleaseFunction* release) {
  *release = ReleaseTextArray;
  *out = CopyTextArray(texts);
  return *out == nullptr ? kAnswerNotEnoughMemory : ADCLIENT_STATUS_SUCCESS;
}

ADClientStatus AnswerDomainNames(
    const std::vector<std::pair<std::string, std::string>>& names,
    ADClientDomainName*** out, ADClientReleaseFunction* release) {
  auto** array = new ADClientDomainName*[names.size() + 1]();
  for (std::size_t i = 0; i < names.size(); ++i) {
    array[i] = new ADClientDomainName{CopyText(names[i].first),
                                      CopyText(names[i].second)};
    if (array[i]->dnsName == nullptr || array[i]->netbiosName == nullptr) {
      ReleaseDomainNames(array);
      return kAnswerNotEnoughMemory;
    }
  }
  *out = array;
  *release = ReleaseDomainNames;
  return ADCLIENT_STATUS_SUCCESS;
}

void ReleaseDomainNames(void* array) {
  if (array == nullptr) return;
  auto** domains = static_cast<ADClientDomainName**>(array);
  for (auto** domain = domains; *domain != nullptr; ++domain) {
    ReleaseText((*domain)->dnsName);
    ReleaseText((*domain)->netbiosName);
    delete *domain;
  }
  delete[] domains;
}

bool SameName(const std::string& left, const std::string& right) {
  return ToLower(left) == ToLower(right);
}

}  // namespace quarry::plugin
