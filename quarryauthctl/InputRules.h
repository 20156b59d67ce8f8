// What the tool accepts as a domain, an organizational unit, a host name
// or a user name before it hands them to the library: text that the
// library or a plug-in would otherwise take and record as it stands. Each
// check raises UsageError with the reason.
#ifndef QUARRYAUTHCTL_INPUTRULES_H
#define QUARRYAUTHCTL_INPUTRULES_H

#include <string>

namespace quarryauthctl {

// A DNS name of at least two labels (letters, digits, hyphens; 1 to 63
// characters each, no hyphen first or last; 253 characters in all).
// what names the argument in the message ("domain", "host name").
void RequireDnsName(const std::string& name, const std::string& what);

// The join argument DOMAIN[/ORGANIZATIONAL-UNIT]: a DNS name, then either
// a path of units ("Servers/Hypervisors", no empty part) or a
// distinguished name ("OU=Hypervisors,DC=ad,DC=test").
void RequireJoinTarget(const std::string& target);

// An organizational unit as a path or a distinguished name (above).
void RequireOrganizationalUnit(const std::string& unit);

// A user name: "name", "DOMAIN\name" or "name@domain", no part empty, no
// blanks around it, no control characters.
void RequireUserName(const std::string& name);

// A word that names something (a PAM service, a smart-card service): not
// empty, no blanks, slashes or control characters.
void RequireName(const std::string& name, const std::string& what);

}  // namespace quarryauthctl

#endif
