// What "login enable" will do, worked out before any file is written: the
// modules that the directory plug-in names, how each PAM service gets them
// (its own file edited, or pam-auth-update for the common files it
// includes) and the name-service switch with the module added. Anything
// that cannot be wired safely is refused here, with words.
#ifndef QUARRYAUTHCTL_LOGINPLAN_H
#define QUARRYAUTHCTL_LOGINPLAN_H

#include <list>
#include <string>
#include <vector>

#include "DirectoryPamRules.h"

namespace quarryauthctl {

// The services through which people log in on a Debian host.
extern const char* const kDefaultServices[6];

struct Modules {
  DirectoryModule pam;
  std::string nss;
  std::list<std::string> nssCriteria;
};

// The modules of the plug-in that provider.conf names.
Modules PluginModules();

// How one service gets the directory's modules.
struct ServicePlan {
  std::string name;
  std::string path;
  bool throughPamAuthUpdate = false;
  std::string original;  // the file's text as planned from, when edited here
  std::string edited;    // the file's new text, when edited here
  bool already = false;
};

// The plans of the services named, or of the default services present
// (saying which are skipped); Failure or ModelRefusal with words.
std::vector<ServicePlan> PlanServices(const std::vector<std::string>& named,
                                      const Modules& modules);

// The name-service module as a service of the switch: "NAME [CRITERIA]".
std::string SwitchService(const Modules& modules);

struct SwitchPlan {
  std::string original;  // the file's text as planned from
  std::string edited;    // with the module added to each database it serves
                         // that does not name it yet
};

// The name-service switch's plan; the databases it adds the module to in
// added.
SwitchPlan PlanSwitch(const Modules& modules,
                      const std::vector<std::string>& databases,
                      std::vector<std::string>& added);

}  // namespace quarryauthctl

#endif
