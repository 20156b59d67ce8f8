// Gives the sandbox the host name, resolver entries and management
// interface that a join test needs.
#ifndef QUARRYAUTH_TESTS_HOSTSETUP_H
#define QUARRYAUTH_TESTS_HOSTSETUP_H

#include <string>

namespace quarryauth_test {

// The IPv4 address of the management interface that AddManagementInterface
// creates.
extern const char kManagementAddress[];

// Creates an interface with kManagementAddress and names it in
// /etc/quarry/network.conf.
void AddManagementInterface();

// Sets the host name and writes /etc/hosts: loopback, then (when names is
// not empty) "192.0.2.5<tab>names" for the management address, then extra.
void SetHost(const std::string& hostName, const std::string& names,
             const std::string& extra = std::string());

// The names of the hosts-file line of address, joined by single spaces;
// empty when there is no such line.
std::string HostsEntry(const std::string& address);

// Makes the resolver consult /etc/hosts only.
void ResolveFromFilesOnly();

}  // namespace quarryauth_test

#endif
