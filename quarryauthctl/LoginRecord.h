// What "login enable" did, kept until "login disable" takes it back: the
// modules, the services and databases it wired, and every file it changed
// with its content before and after. Kept in /var/lib/quarry/quarryauthctl/
// login, readable by root only.
#ifndef QUARRYAUTHCTL_LOGINRECORD_H
#define QUARRYAUTHCTL_LOGINRECORD_H

#include <string>
#include <vector>

#include "FileChanges.h"

namespace quarryauthctl {

struct WiredService {
  std::string name;     // the PAM service, as in /etc/pam.d
  std::string through;  // the file edited, or "pam-auth-update"
};

struct LoginRecord {
  std::string pamModule;
  std::string nssModule;
  std::vector<WiredService> services;
  std::vector<std::string> databases;
  std::vector<FileChange> files;
};

extern const char kLoginRecordFolder[];

bool LoginRecordExists();
// Failure when the record cannot be read whole.
LoginRecord LoadLoginRecord();
// Writes the record; Failure when it cannot be written.
void SaveLoginRecord(const LoginRecord& record);
void RemoveLoginRecord();

}  // namespace quarryauthctl

#endif
