// The plug-in's own settings, /etc/quarry/quarrycam.conf (optional):
//   port = "443"                     the proxy's HTTPS port
//   connect-timeout-seconds = "5"    for the TCP connection
//   reply-timeout-seconds = "40"     for the TLS handshake, the request and
//                                    the whole answer (the proxy bounds its
//                                    own directory work at 30 seconds)
//   certificate-file = "/etc/quarry/quarrycam.pem"  the host's own
//   key-file = "/etc/quarry/quarrycam.key"          certificate and key,
//                                    presented to the proxy, which serves
//                                    enrolled hosts only ("quarryauthctl
//                                    host-cert create" makes them)
#ifndef QUARRYCAM_CAMSETTINGS_H
#define QUARRYCAM_CAMSETTINGS_H

#include <string>

#include "common/HostCertificateFiles.h"

namespace quarrycam {

struct CamSettings {
  std::string certificateFile = quarry::common::kDefaultHostCertificate;
  std::string keyFile = quarry::common::kDefaultHostKey;
  int port = 443;
  int connectTimeoutSeconds = 5;
  int replyTimeoutSeconds = 40;
};

// False when the file exists but cannot be read or holds a value that is
// not usable; a missing file gives the defaults.
bool LoadCamSettings(CamSettings& settings);

}  // namespace quarrycam

#endif
