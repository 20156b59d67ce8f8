#include "systemconfiguration/NSSTestSupport.h"

namespace sc = SystemConfiguration;
using sc::NSSConfiguration;
using sc::NSSDatabase;
using sc::NSSService;

namespace nss_test {

const std::vector<std::pair<std::string, NSSDatabase::Database>> kDatabases = {
    {"passwd", NSSDatabase::Passwd},       {"group", NSSDatabase::Group},
    {"shadow", NSSDatabase::Shadow},       {"hosts", NSSDatabase::Hosts},
    {"netmasks", NSSDatabase::Netmasks},   {"networks", NSSDatabase::Networks},
    {"protocols", NSSDatabase::Protocols}, {"services", NSSDatabase::Services},
    {"ethers", NSSDatabase::Ethers},       {"rpc", NSSDatabase::Rpc},
    {"netgroup", NSSDatabase::Netgroup},   {"bootparams", NSSDatabase::Bootparams},
    {"publickey", NSSDatabase::Publickey}, {"automount", NSSDatabase::Automount},
    {"aliases", NSSDatabase::Aliases},
};

NSSConfiguration Read(const std::string& text) {
  NSSConfiguration configuration;
  std::istringstream in(text);
  in >> configuration;
  return configuration;
}

NSSService Service(const std::string& module, const Words& parameters) {
  NSSService service(module);
  service.parameters() = parameters;
  return service;
}

}  // namespace nss_test
