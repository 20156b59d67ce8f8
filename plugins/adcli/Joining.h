// Joining and leaving: runs adcli, keeps the membership record in step with
// what happened in the directory, and undoes a half-finished join.
#ifndef QUARRYADCLI_JOINING_H
#define QUARRYADCLI_JOINING_H

#include <quarryauth/plugin/ActiveDirectoryClient.h>

namespace quarryadcli {

ADClientStatus JoinWithPassword(const char* domain,
                                const char* organizationalUnit,
                                const Credentials* credentials);

ADClientStatus JoinWithMachineAccount(
    const ADClientDirectoryDomainInfo* domain,
    const ADClientMachineAccountInfo* account);

// With credentials the computer account is deleted first; without, only
// the host's keys and the record go.
ADClientStatus Leave(const Credentials* credentials);

}  // namespace quarryadcli

#endif
