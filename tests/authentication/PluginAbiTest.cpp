// The directory client plug-in interface is a binary contract: record
// sizes, slot offsets, symbol names, versions and status values.
#include <cstddef>
#include <cstring>

#include <gtest/gtest.h>
#include <quarryauth/authentication.h>
#include <quarryauth/plugin/ActiveDirectoryClient.h>

extern "C" {
size_t PluginAbiMetadataSizeInC(void);
size_t PluginAbiOperationsSizeInC(void);
size_t PluginAbiSmartCardOffsetInC(void);
}

namespace {

TEST(PluginAbi, MetadataRecordLayout) {
  EXPECT_EQ(40u, sizeof(ADClientMetadata));
  EXPECT_EQ(0u, offsetof(ADClientMetadata, version));
  EXPECT_EQ(4u, sizeof(ADClientMetadata::version));
  EXPECT_EQ(8u, offsetof(ADClientMetadata, pamModule));
  EXPECT_EQ(16u, offsetof(ADClientMetadata, pamModuleParameters));
  EXPECT_EQ(24u, offsetof(ADClientMetadata, nssModule));
  EXPECT_EQ(32u, offsetof(ADClientMetadata, nssModuleParameters));
}

TEST(PluginAbi, OperationsTableLayout) {
  EXPECT_EQ(136u, sizeof(ADClientOperations));
  EXPECT_EQ(4u, sizeof(ADClientOperations::version));
  EXPECT_EQ(0u, offsetof(ADClientOperations, version));
  EXPECT_EQ(8u, offsetof(ADClientOperations, JoinDomain));
  EXPECT_EQ(16u, offsetof(ADClientOperations, PartDomain));
  EXPECT_EQ(24u, offsetof(ADClientOperations, GetActiveDomain));
  EXPECT_EQ(32u, offsetof(ADClientOperations, SetPreferredDomainControllers));
  EXPECT_EQ(40u, offsetof(ADClientOperations, GetPreferredDomainControllers));
  EXPECT_EQ(48u, offsetof(ADClientOperations, reserved));
  EXPECT_EQ(56u, offsetof(ADClientOperations, GetDomainTrustState));
  EXPECT_EQ(64u, offsetof(ADClientOperations, GetTrustedDomains));
  EXPECT_EQ(72u, offsetof(ADClientOperations, GetMachineAccountDN));
  EXPECT_EQ(80u, offsetof(ADClientOperations, GetAnyDomainController));
  EXPECT_EQ(88u, offsetof(ADClientOperations, ConvertCanonicalUsername));
  EXPECT_EQ(96u, offsetof(ADClientOperations, JoinDomainWithMachineAccount));
  EXPECT_EQ(104u, offsetof(ADClientOperations, GetHostPrincipalForDomain));
  EXPECT_EQ(112u, offsetof(ADClientOperations, GetDomainTrustRelationship));
  EXPECT_EQ(120u, offsetof(ADClientOperations, SetSmartCardEnabledServices));
  EXPECT_EQ(128u, offsetof(ADClientOperations, GetSmartCardEnabledServices));
}

TEST(PluginAbi, SameLayoutWhenCompiledAsC) {
  EXPECT_EQ(40u, PluginAbiMetadataSizeInC());
  EXPECT_EQ(136u, PluginAbiOperationsSizeInC());
  EXPECT_EQ(128u, PluginAbiSmartCardOffsetInC());
}

TEST(PluginAbi, CredentialsBeginWithUserNameAndPassword) {
  EXPECT_EQ(16u, sizeof(Credentials));
  EXPECT_EQ(0u, offsetof(Credentials, username));
  EXPECT_EQ(8u, offsetof(Credentials, password));
}

TEST(PluginAbi, DomainNamePairIsDnsThenNetbios) {
  EXPECT_EQ(16u, sizeof(ADClientDomainName));
  EXPECT_EQ(0u, offsetof(ADClientDomainName, dnsName));
  EXPECT_EQ(8u, offsetof(ADClientDomainName, netbiosName));
}

TEST(PluginAbi, MachineAccountRecordsAreFlatTextLists) {
  EXPECT_EQ(4 * sizeof(const char*), sizeof(ADClientDirectoryDomainInfo));
  EXPECT_EQ(8u, offsetof(ADClientDirectoryDomainInfo, netbiosDomainName));
  EXPECT_EQ(16u, offsetof(ADClientDirectoryDomainInfo, dnsDomainName));
  EXPECT_EQ(24u, offsetof(ADClientDirectoryDomainInfo, domainSid));
  EXPECT_EQ(5 * sizeof(const char*), sizeof(ADClientMachineAccountInfo));
  EXPECT_EQ(0u, offsetof(ADClientMachineAccountInfo, hostShortName));
  EXPECT_EQ(8u, offsetof(ADClientMachineAccountInfo, dnsDomainName));
  EXPECT_EQ(16u, offsetof(ADClientMachineAccountInfo, reserved));
  EXPECT_EQ(24u, offsetof(ADClientMachineAccountInfo, principalSecond));
  EXPECT_EQ(32u, offsetof(ADClientMachineAccountInfo, principalThird));
}

TEST(PluginAbi, SymbolNamesAndVersions) {
  EXPECT_STREQ("ActiveDirectoryClientMetadata",
               ACTIVE_DIRECTORY_CLIENT_METADATA_SYMBOL);
  EXPECT_STREQ("ActiveDirectoryClientOperations",
               ACTIVE_DIRECTORY_CLIENT_OPERATIONS_SYMBOL);
  EXPECT_EQ(3, ACTIVE_DIRECTORY_CLIENT_METADATA_VERSION);
  EXPECT_EQ(2, ACTIVE_DIRECTORY_CLIENT_OPERATIONS_VERSION);
}

TEST(PluginAbi, StatusValues) {
  EXPECT_EQ(4u, sizeof(ADClientStatus));
  EXPECT_EQ(4u, sizeof(ADClientTrustState));
  EXPECT_EQ(0u, ADCLIENT_STATUS_SUCCESS);
  EXPECT_EQ(2u, ADCLIENT_STATUS_FILE_NOT_FOUND);
  EXPECT_EQ(5u, ADCLIENT_STATUS_ACCESS_DENIED);
  EXPECT_EQ(120u, ADCLIENT_STATUS_CALL_NOT_IMPLEMENTED);
  EXPECT_EQ(1326u, ADCLIENT_STATUS_LOGON_FAILURE);
  EXPECT_EQ(1355u, ADCLIENT_STATUS_NO_SUCH_DOMAIN);
  EXPECT_EQ(4294901760u, ADCLIENT_STATUS_PRIVATE_RETRY);
  EXPECT_EQ(4294901761u, ADCLIENT_STATUS_PRIVATE_FAILURE);
}

TEST(PluginAbi, CamRecordsKeepTheirFieldOrder) {
  CAM::DirectoryDomainInfo domain = {"", "EXAMPLE", "example.com", "S-1-5"};
  CAM::MachineAccountInfo account = {"node1", "example.com", "", "second",
                                     "third"};
  EXPECT_EQ("EXAMPLE", domain.netbiosDomainName);
  EXPECT_EQ("S-1-5", domain.domainSid);
  EXPECT_EQ("node1", account.hostShortName);
  EXPECT_EQ("third", account.principalThird);
}

}  // namespace
