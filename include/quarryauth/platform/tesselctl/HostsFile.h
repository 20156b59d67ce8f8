// The host's static name table, "/etc/hosts".
#ifndef TESSELCTL_HOSTSFILE_H
#define TESSELCTL_HOSTSFILE_H

#include <string>
#include <vector>

#include "Export.h"

namespace TesselCtl {
namespace Network {

class TESSELCTL_EXPORT HostsFile {
 public:
  HostsFile();
  HostsFile(const HostsFile&) = delete;
  HostsFile& operator=(const HostsFile&) = delete;
  ~HostsFile();

  // Makes address map to fullyQualifiedName followed by aliases, written as
  // one line "address<TAB>name alias...". The first line of that address
  // (IPv4 or IPv6, compared as addresses, not as text) is replaced in
  // place and any later line of the same address removed; without one, the
  // line is appended. Every other line, comments and blank lines included,
  // stays byte for byte. The file is replaced atomically with its mode kept
  // and is not written at all when nothing changes. Throws
  // HostCtl::Lib::HostCtlException for an address that is not an IP
  // address, a name that is empty or holds blanks, control characters or
  // "#", and when the file cannot be read or written.
  void AddOrReplaceEntry(const std::string& address,
                         const std::string& fullyQualifiedName,
                         const std::vector<std::string>& aliases);
};

}  // namespace Network
}  // namespace TesselCtl

#endif
