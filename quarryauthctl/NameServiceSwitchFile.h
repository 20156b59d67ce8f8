// /etc/nsswitch.conf as the name-service commands read and edit it: through
// the library's model to understand it, and line by line to change it, so
// that every line an edit does not touch stays byte for byte.
#ifndef QUARRYAUTHCTL_NAMESERVICESWITCHFILE_H
#define QUARRYAUTHCTL_NAMESERVICESWITCHFILE_H

#include <quarryauth/systemconfiguration.h>

#include <string>

namespace quarryauthctl {

extern const char kSwitchPath[];  // "/etc/nsswitch.conf"

// The file through the model; ModelRefusal when the model cannot read it
// whole (it would lose services).
SystemConfiguration::NSSConfiguration ReadSwitch();

// The same for the file's text, already read.
SystemConfiguration::NSSConfiguration ParseSwitch(const std::string& text);

// text with the line of database replaced by one that names services, the
// spacing after "database:" kept; appended when there is none.
std::string WithDatabaseLine(const std::string& text,
                             const std::string& database,
                             const std::string& services);

// text with service added at the end of database's line (before a trailing
// comment); a line "database:<TAB>service" appended when there is none.
std::string WithServiceAdded(const std::string& text,
                             const std::string& database,
                             const std::string& service);

// Whether the line of database in text names module as a service (words
// in brackets are criteria, not services). Read plainly, not through the
// model, which loses the services after a bracket.
bool DatabaseLineNames(const std::string& text, const std::string& database,
                       const std::string& module);

}  // namespace quarryauthctl

#endif
