/* The SDK header compiled as C: the layouts that a C plug-in sees. */
#include <stddef.h>

#include <quarryauth/plugin/ActiveDirectoryClient.h>

size_t PluginAbiMetadataSizeInC(void);
size_t PluginAbiOperationsSizeInC(void);
size_t PluginAbiSmartCardOffsetInC(void);

_Static_assert(sizeof(ADClientMetadata) == 40, "metadata is 40 bytes");
_Static_assert(sizeof(ADClientOperations) == 136, "table is 136 bytes");
_Static_assert(offsetof(ADClientOperations, GetSmartCardEnabledServices) ==
                   128,
               "last slot at 128");

size_t PluginAbiMetadataSizeInC(void) { return sizeof(ADClientMetadata); }
size_t PluginAbiOperationsSizeInC(void) { return sizeof(ADClientOperations); }
size_t PluginAbiSmartCardOffsetInC(void) {
  return offsetof(ADClientOperations, GetSmartCardEnabledServices);
}
