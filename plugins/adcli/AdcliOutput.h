// Reading what adcli prints: the details of a join, and the reason of a
// failure turned into the status codes the library understands.
#ifndef QUARRYADCLI_ADCLIOUTPUT_H
#define QUARRYADCLI_ADCLIOUTPUT_H

#include <quarryauth/plugin/ActiveDirectoryClient.h>

#include <map>
#include <string>

namespace quarryadcli {

// Status codes this plug-in answers with, beside those of the SDK header.
const ADClientStatus kStatusNotEnoughMemory = 8;
// The directory client's configuration could not be written.
const ADClientStatus kStatusWriteFault = 29;
const ADClientStatus kStatusInvalidParameter = 87;
const ADClientStatus kStatusDirectory = 267;
// SSSD, which serves the joined domain's users, is not installed.
const ADClientStatus kStatusServiceMissing = 1060;
const ADClientStatus kStatusNoLogonServers = 1311;
const ADClientStatus kStatusPasswordExpired = 1330;
const ADClientStatus kStatusInternalError = 1359;
const ADClientStatus kStatusTimeSkew = 1398;
// The host's Kerberos settings cannot be parsed.
const ADClientStatus kStatusBadConfiguration = 1610;
const ADClientStatus kStatusAccountLockedOut = 1909;
const ADClientStatus kStatusAlreadyJoined = 2691;
const ADClientStatus kStatusNotJoined = 2692;
const ADClientStatus kStatusTimedOut = 10060;

// The "[section]" / "key = value" report of --show-details, keyed
// "section.key". A value of "(null)" is kept as an empty text.
std::map<std::string, std::string> ParseDetails(const std::string& output);

// The status for a failed adcli run, from its standard error.
//   wrong password, unknown account, wrong one-time password  1326
//   no usable domain controller                                1311
//   organizational unit missing                                 267
//   keys could not be written                                     5
//   account locked or disabled                                 1909
//   password expired                                           1330
//   clocks too far apart                                       1398
//   not allowed to create or delete the account                   5
//   anything else                                              1359
ADClientStatus ClassifyFailure(const std::string& errors);

// True when adcli got as far as creating or changing the computer account
// and failed afterwards (the host's keys were not written).
bool FailedAfterAccountChange(const std::string& errors);

}  // namespace quarryadcli

#endif
