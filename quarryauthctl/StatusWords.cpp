#include "StatusWords.h"

#include <algorithm>

namespace quarryauthctl {

namespace {

const std::vector<StatusWords> kWords = {
    {2, "ERROR_FILE_NOT_FOUND", "a file that the operation needs is missing; see the file named above or in the system log"},
    {5, "ERROR_ACCESS_DENIED", "the directory or the authentication proxy refused the request; use an account allowed to manage computer accounts, or have this host allowed and its certificate enrolled by the proxy ('quarryauthctl host-cert thumbprint' shows it; the proxy's log says why)"},
    {8, "ERROR_NOT_ENOUGH_MEMORY", "the plug-in ran out of memory; check the host's memory and try again"},
    {29, "ERROR_WRITE_FAULT", "the directory client's configuration (SSSD's settings in /etc/sssd/conf.d, Kerberos's in /etc/krb5.conf.d and /etc/krb5.conf) could not be written, and the join was taken back; the system log names the file"},
    {86, "ERROR_INVALID_PASSWORD", "the password is wrong; type it again"},
    {87, "ERROR_INVALID_PARAMETER", "the directory or the proxy refused a name or a container given to it; check the domain, the organizational unit and the host name"},
    {120, "ERROR_CALL_NOT_IMPLEMENTED", "the directory plug-in does not offer this operation; use a plug-in that does"},
    {267, "ERROR_DIRECTORY", "the directory refused or could not find the container; check the organizational unit"},
    {609, "ERROR_BAD_DLL_ENTRYPOINT", "a plug-in lacks an entry point; reinstall the plug-in"},
    {1002, "ERROR_INVALID_MESSAGE", "the plug-in got a request it cannot act on; check the plug-in's version"},
    {1060, "ERROR_SERVICE_DOES_NOT_EXIST", "a service that the plug-in needs is not installed (for quarryadcli, SSSD); install the directory client's packages"},
    {1061, "ERROR_SERVICE_CANNOT_ACCEPT_CTRL", "a service that the plug-in needs cannot take requests now; try again shortly"},
    {1062, "ERROR_SERVICE_NOT_ACTIVE", "a service that the plug-in needs is not running; start it and try again"},
    {1064, "ERROR_EXCEPTION_IN_SERVICE", "a service that the plug-in uses failed; see its log"},
    {1067, "ERROR_PROCESS_ABORTED", "a helper process of the plug-in ended unexpectedly; see the system log"},
    {1201, "ERROR_CONNECTION_UNAVAIL", "the connection to the directory is not available; check the network"},
    {1209, "ERROR_INVALID_GROUPNAME", "a group name is malformed; correct it"},
    {1210, "ERROR_INVALID_COMPUTERNAME", "the host name is not a valid computer name; give the host a short name of at most 15 letters, digits and hyphens"},
    {1212, "ERROR_INVALID_DOMAINNAME", "the domain name is malformed; give the domain's DNS name, such as ad.example.com"},
    {1213, "ERROR_INVALID_SERVICENAME", "a service name is malformed; correct it"},
    {1214, "ERROR_INVALID_NETNAME", "a network name is malformed; correct it"},
    {1215, "ERROR_INVALID_SHARENAME", "a share name is malformed; correct it"},
    {1216, "ERROR_INVALID_PASSWORDNAME", "the password is malformed; type it again"},
    {1222, "ERROR_NO_NETWORK", "the network is not up; check the management interface"},
    {1225, "ERROR_CONNECTION_REFUSED", "the directory or the authentication proxy refused the connection; check its address and that it runs"},
    {1229, "ERROR_CONNECTION_INVALID", "what answered does not speak the authentication proxy's protocol; check the proxy's address and port"},
    {1231, "ERROR_NETWORK_UNREACHABLE", "the authentication proxy cannot be reached; check the route to it"},
    {1311, "ERROR_NO_LOGON_SERVERS", "no domain controller answered; check DNS (the domain's SRV records) and the network"},
    {1315, "ERROR_INVALID_ACCOUNT_NAME", "the account name is malformed; correct it"},
    {1316, "ERROR_USER_EXISTS", "the computer account exists and the authentication proxy may not reset it (it lies outside the proxy's base container, or the proxy did not create it); have a domain administrator delete or move it, or ask the proxy for another container"},
    {1317, "ERROR_NO_SUCH_USER", "the account does not exist in the domain; check the user name"},
    {1324, "ERROR_ILL_FORMED_PASSWORD", "the directory refused the new machine password; check the domain's password policy"},
    {1325, "ERROR_PASSWORD_RESTRICTION", "the new machine password does not meet the domain's password policy; relax the policy for computer accounts"},
    {1326, "ERROR_LOGON_FAILURE", "the user name or password is wrong; check both and try again"},
    {1330, "ERROR_PASSWORD_EXPIRED", "the account's password has expired; change it in the domain, then try again"},
    {1331, "ERROR_ACCOUNT_DISABLED", "the account is disabled; have a domain administrator enable it"},
    {1355, "ERROR_NO_SUCH_DOMAIN", "the domain does not exist or no domain controller could be found; check the domain name and the host's DNS servers"},
    {1359, "ERROR_INTERNAL_ERROR", "the plug-in or the proxy's directory failed; see the system log and the proxy's log"},
    {1398, "ERROR_TIME_SKEW", "the host's clock differs too much from the domain controller's; synchronise the clock (NTP) and try again"},
    {1575, "ERROR_NO_SUCH_GROUP", "the group does not exist in the domain; check its name"},
    {1610, "ERROR_BAD_CONFIGURATION", "a settings file is wrong: the plug-in's own, or the host's Kerberos settings (/etc/krb5.conf and what it includes); correct it (the system log names the file and the key)"},
    {1703, "RPC_S_PROTSEQ_NOT_SUPPORTED", "the directory does not support the protocol asked for; check the plug-in"},
    {1786, "ERROR_NO_TRUST_LSA_SECRET", "the host has no machine secret for the domain; leave and join again"},
    {1787, "ERROR_NO_TRUST_SAM_ACCOUNT", "the domain has no computer account for this host; leave and join again"},
    {1791, "RPC_S_CALL_IN_PROGRESS", "another directory call is still running; wait and try again"},
    {1810, "ERROR_DOMAIN_TRUST_INCONSISTENT", "the domain's name or SID does not match the trust information; check the domain"},
    {1909, "ERROR_ACCOUNT_LOCKED_OUT", "the account is locked out after too many failed logons; have a domain administrator unlock it, then try again with the right password"},
    {2138, "NERR_WkstaNotStarted", "the directory client service is not running; start it and try again"},
    {2691, "NERR_SetupAlreadyJoined", "this host is already joined to a domain; leave it first"},
    {2692, "NERR_SetupNotJoined", "this host is not joined to a domain"},
    {2695, "NERR_InvalidWorkgroupName", "the domain's short (NetBIOS) name is invalid; check the domain"},
    {10060, "WSAETIMEDOUT", "the domain controller or the authentication proxy did not answer in time; check that it runs and that the network lets the host reach it"},
    {0x80090325u, "SEC_E_UNTRUSTED_ROOT", "the authentication proxy's certificate is not the one imported; import the proxy's current certificate with 'quarryauthctl import-proxy-cert FILE'"},
    {0xffff0000u, "RETRY", "the plug-in asked for the join to be tried again and every attempt failed; see the system log"},
    {0xffff0001u, "FAILURE", "the plug-in failed without a more precise status; see the system log"},
};

}  // namespace

const std::vector<StatusWords>& KnownStatusCodes() { return kWords; }

std::string DescribeStatus(uint64_t code) {
  const auto found = std::lower_bound(
      kWords.begin(), kWords.end(), code,
      [](const StatusWords& words, uint64_t wanted) { return words.code < wanted; });
  if (found == kWords.end() || found->code != code) return std::string();
  return "status " + std::to_string(code) + " (" + found->name + "): " +
         found->words;
}

}  // namespace quarryauthctl
