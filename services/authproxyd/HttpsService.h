// The proxy's HTTPS front: accepts only clients from the allowed networks
// (filtered by the kernel before any handshake), bounds the connections
// and the time to receive each request (ConnectionLimits.h), and routes the
// two requests of ProxyRequests.
#ifndef QUARRY_AUTHPROXYD_HTTPSSERVICE_H
#define QUARRY_AUTHPROXYD_HTTPSSERVICE_H

#include <memory>
#include <string>

#include "services/authproxyd/ConnectionLimits.h"
#include "services/authproxyd/ProxyRequests.h"
#include "services/authproxyd/ProxySettings.h"

namespace httplib {
class SSLServer;
}

namespace quarry::authproxyd {

class HttpsService {
 public:
  // Loads the certificate and key; throws SettingsError when they cannot be
  // used.
  HttpsService(const ProxySettings& settings, ProxyRequests& requests);
  ~HttpsService();
  HttpsService(const HttpsService&) = delete;
  HttpsService& operator=(const HttpsService&) = delete;

  // Binds the listening socket; throws SettingsError when it cannot.
  void Bind();
  // Serves until Stop(); returns false when serving failed.
  bool Serve();
  // From any thread.
  void Stop();

 private:
  const ProxySettings settings_;
  ConnectionLimits limits_;
  int filterError_ = 0;
  int listeningSocket_ = -1;
  std::unique_ptr<httplib::SSLServer> server_;
};

}  // namespace quarry::authproxyd

#endif
