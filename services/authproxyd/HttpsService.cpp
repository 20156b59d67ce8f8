#include "services/authproxyd/HttpsService.h"

#include <httplib.h>
#include <openssl/ssl.h>
#include <syslog.h>

#include <sys/socket.h>

#include <cerrno>
#include <cstring>

#include "services/authproxyd/AddressFilter.h"
#include "services/authproxyd/ClientIdentity.h"
#include "services/authproxyd/Enrolment.h"

namespace quarry::authproxyd {

namespace {

const char kJson[] = "application/json";
// A request is a few hundred bytes; anything far larger is not one of ours.
constexpr std::size_t kLargestRequest = 16 * 1024;
constexpr time_t kIoTimeoutSeconds = 10;

void Send(httplib::Response& response, const Answer& answer) {
  response.status = answer.status;
  response.set_content(answer.body, kJson);
}

// Every client certificate passes the handshake: whether it stands for a
// host is decided per request (enrolled, or issued by a trusted
// authority), so that a refusal reaches the client with words instead of a
// bare TLS alert.
int AcceptForLaterCheck(int, X509_STORE_CTX*) { return 1; }

bool SetUpTls(const ProxySettings& settings, SSL_CTX& context) {
  SSL_CTX_set_min_proto_version(&context, TLS1_2_VERSION);
  if (SSL_CTX_use_certificate_chain_file(
          &context, settings.certificateFile.c_str()) != 1 ||
      SSL_CTX_use_PrivateKey_file(&context, settings.keyFile.c_str(),
                                  SSL_FILETYPE_PEM) != 1 ||
      SSL_CTX_check_private_key(&context) != 1) {
    return false;
  }
  if (!settings.clientCaFile.empty() &&
      SSL_CTX_load_verify_locations(&context, settings.clientCaFile.c_str(),
                                    nullptr) != 1) {
    return false;
  }
  SSL_CTX_set_verify(&context, SSL_VERIFY_PEER, AcceptForLaterCheck);
  return true;
}

// Who asks, from the TLS session: the certificate and whether its chain
// was verified against the trusted authorities.
ClientIdentity Identify(const httplib::Request& request,
                        const ProxySettings& settings) {
  X509* certificate = nullptr;
  bool issuedByTrustedAuthority = false;
  if (request.ssl != nullptr) {
    certificate = SSL_get0_peer_certificate(request.ssl);
    issuedByTrustedAuthority = !settings.clientCaFile.empty() &&
                               SSL_get_verify_result(request.ssl) == X509_V_OK;
  }
  Enrolment enrolment;
  try {
    enrolment = ReadEnrolment(settings.enrolmentFile);
  } catch (const SettingsError& error) {
    // Nobody is enrolled while the list cannot be read.
    syslog(LOG_ERR, "%s", error.what());
  }
  return IdentifyClient(request.remote_addr, certificate,
                        issuedByTrustedAuthority, enrolment);
}

// Words for the HTTP library's own refusals.
std::string RefusalText(int status) {
  switch (status) {
    case 404:
      return "no such request";
    case 413:
      return "the request is larger than " + std::to_string(kLargestRequest) +
             " bytes";
    case 400:
      return "the request is not well-formed HTTP";
    default:
      return "the request cannot be served";
  }
}

}  // namespace

HttpsService::HttpsService(const ProxySettings& settings,
                           ProxyRequests& requests)
    : settings_(settings),
      limits_(settings.maxConnections,
              std::chrono::seconds(settings.receiveTimeoutSeconds)),
      server_(new httplib::SSLServer([this](SSL_CTX& context) {
        limits_.Watch(context);
        return SetUpTls(settings_, context);
      })) {
  if (!server_->is_valid()) {
    throw SettingsError("cannot use the certificate " +
                        settings.certificateFile + " with the key " +
                        settings.keyFile +
                        (settings.clientCaFile.empty()
                             ? std::string()
                             : " and the client authorities in " +
                                   settings.clientCaFile));
  }
  server_->set_read_timeout(kIoTimeoutSeconds, 0);
  server_->set_write_timeout(kIoTimeoutSeconds, 0);
  server_->set_keep_alive_max_count(1);
  server_->set_payload_max_length(kLargestRequest);
  server_->new_task_queue = [this] { return limits_.NewQueue(); };
  server_->set_socket_options([this](socket_t socket) {
    const int yes = 1;
    ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    if (!AttachAddressFilter(socket, settings_.allowedNetworks)) {
      filterError_ = errno;
    }
    listeningSocket_ = socket;
  });

  // The kernel drops other addresses already (AddressFilter.h); this is the
  // second fence, with words.
  const std::vector<Ipv4Network> allowed = settings.allowedNetworks;
  server_->set_pre_routing_handler(
      [allowed](const httplib::Request& request, httplib::Response& response) {
        if (IsAllowedClient(allowed, request.remote_addr)) {
          return httplib::Server::HandlerResponse::Unhandled;
        }
        syslog(LOG_WARNING, "refused %s: not in allowed-networks",
               request.remote_addr.c_str());
        Send(response, ErrorAnswer(403, "this address may not use the proxy"));
        return httplib::Server::HandlerResponse::Handled;
      });
  const ProxySettings& known = settings_;
  server_->Get("/api/v1/domain", [&requests, &known](
                                     const httplib::Request& request,
                                     httplib::Response& response) {
    ConnectionLimits::Received();
    const Arrival arrival{ConnectionLimits::Arrival(),
                          ConnectionLimits::ClientWaiting()};
    Send(response, requests.DomainInfo(Identify(request, known), arrival));
  });
  server_->Post("/api/v1/computers", [&requests, &known](
                                         const httplib::Request& request,
                                         httplib::Response& response) {
    ConnectionLimits::Received();
    const Arrival arrival{ConnectionLimits::Arrival(),
                          ConnectionLimits::ClientWaiting()};
    Send(response, requests.CreateComputer(Identify(request, known),
                                           request.body, arrival));
  });
  // Answers of the requests above carry their own body; only the library's
  // own refusals (no such path, too large) get one here.
  const httplib::Server::HandlerWithResponse errorHandler =
      [](const httplib::Request&, httplib::Response& response) {
        ConnectionLimits::Received();
        if (!response.body.empty()) {
          return httplib::Server::HandlerResponse::Unhandled;
        }
        Send(response, ErrorAnswer(response.status, RefusalText(response.status)));
        return httplib::Server::HandlerResponse::Handled;
      };
  server_->set_error_handler(errorHandler);
}

HttpsService::~HttpsService() = default;

void HttpsService::Bind() {
  if (!server_->bind_to_port(settings_.listenAddress.c_str(), settings_.port)) {
    throw SettingsError("cannot listen on " + settings_.listenAddress + ":" +
                        std::to_string(settings_.port));
  }
  // The HTTP library listens with a backlog of five; a fleet that connects
  // at once needs the kernel's full queue while every worker is busy.
  if (listeningSocket_ >= 0) ::listen(listeningSocket_, SOMAXCONN);
  if (filterError_ != 0) {
    throw SettingsError("cannot have the kernel filter connections by "
                        "allowed-networks: " +
                        std::string(std::strerror(filterError_)));
  }
}

bool HttpsService::Serve() { return server_->listen_after_bind(); }

void HttpsService::Stop() { server_->stop(); }

}  // namespace quarry::authproxyd
