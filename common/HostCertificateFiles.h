// Where the host's own certificate and key for the authentication proxy
// live unless /etc/quarry/quarrycam.conf says otherwise: shared by the
// quarrycam plug-in, which presents them, and quarryauthctl, which makes
// them.
#ifndef QUARRY_COMMON_HOSTCERTIFICATEFILES_H
#define QUARRY_COMMON_HOSTCERTIFICATEFILES_H

namespace quarry::common {

inline constexpr char kCamSettingsPath[] = "/etc/quarry/quarrycam.conf";
inline constexpr char kDefaultHostCertificate[] = "/etc/quarry/quarrycam.pem";
inline constexpr char kDefaultHostKey[] = "/etc/quarry/quarrycam.key";

}  // namespace quarry::common

#endif
