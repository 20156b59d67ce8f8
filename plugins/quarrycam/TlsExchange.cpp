#include "TlsExchange.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <poll.h>
#include <sys/socket.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>

#include "HttpReply.h"
#include "ResultCodes.h"
#include "common/OpenSslHandles.h"
#include "common/ThumbprintText.h"
#include "common/UniqueFd.h"

namespace quarrycam {

namespace {

using Clock = std::chrono::steady_clock;
using quarry::common::SslContextPointer;
using quarry::common::SslPointer;
using quarry::common::UniqueFd;
using quarry::common::X509Pointer;

// Far more than any answer of the proxy.
constexpr std::string::size_type kLargestReply = 64 * 1024;

// Waits until fd is ready for events or the deadline passes.
CAMProxyResult WaitFor(int fd, short events, Clock::time_point deadline) {
  for (;;) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        deadline - Clock::now());
    if (left.count() <= 0) return CAM_PROXY_TIMED_OUT;
    pollfd ready{fd, events, 0};
    const int polled = ::poll(&ready, 1, static_cast<int>(left.count()));
    if (polled > 0) return CAM_PROXY_SUCCESS;
    if (polled < 0 && errno != EINTR) return CAM_PROXY_CONNECTION_INVALID;
  }
}

CAMProxyResult ConnectError(int error) {
  switch (error) {
    case ECONNREFUSED:
      return CAM_PROXY_CONNECTION_REFUSED;
    case ETIMEDOUT:
      return CAM_PROXY_TIMED_OUT;
    case ENETUNREACH:
    case EHOSTUNREACH:
      return kNetworkUnreachable;
    default:
      return CAM_PROXY_CONNECTION_INVALID;
  }
}

CAMProxyResult Connect(const std::string& address, int port, int timeoutSeconds,
                       UniqueFd& socket) {
  sockaddr_in server{};
  server.sin_family = AF_INET;
  server.sin_port = htons(static_cast<uint16_t>(port));
  if (::inet_pton(AF_INET, address.c_str(), &server.sin_addr) != 1) {
    return kInvalidParameter;
  }
  socket = UniqueFd(
      ::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  if (socket.Get() < 0) {
    return errno == ENOMEM || errno == ENOBUFS ? CAM_PROXY_NOT_ENOUGH_MEMORY
                                               : CAM_PROXY_CONNECTION_INVALID;
  }
  if (::connect(socket.Get(), reinterpret_cast<const sockaddr*>(&server),
                sizeof server) == 0) {
    return CAM_PROXY_SUCCESS;
  }
  if (errno != EINPROGRESS) return ConnectError(errno);
  const CAMProxyResult waited =
      WaitFor(socket.Get(), POLLOUT,
              Clock::now() + std::chrono::seconds(timeoutSeconds));
  if (waited != CAM_PROXY_SUCCESS) return waited;
  int error = 0;
  socklen_t length = sizeof error;
  if (::getsockopt(socket.Get(), SOL_SOCKET, SO_ERROR, &error, &length) != 0) {
    return CAM_PROXY_CONNECTION_INVALID;
  }
  return error == 0 ? CAM_PROXY_SUCCESS : ConnectError(error);
}

// Runs one non-blocking TLS operation until it completes, waiting for the
// socket as OpenSSL asks. Returns the operation's positive result through
// done, 0 for a clean end of the stream.
template <class Operation>
CAMProxyResult Drive(SSL* ssl, int fd, Clock::time_point deadline,
                     Operation operation, int& done) {
  for (;;) {
    const int result = operation();
    if (result > 0) {
      done = result;
      return CAM_PROXY_SUCCESS;
    }
    const int error = SSL_get_error(ssl, result);
    CAMProxyResult waited;
    if (error == SSL_ERROR_WANT_READ) {
      waited = WaitFor(fd, POLLIN, deadline);
    } else if (error == SSL_ERROR_WANT_WRITE) {
      waited = WaitFor(fd, POLLOUT, deadline);
    } else if (error == SSL_ERROR_ZERO_RETURN) {
      done = 0;
      return CAM_PROXY_SUCCESS;
    } else {
      ERR_clear_error();
      return CAM_PROXY_CONNECTION_INVALID;
    }
    if (waited != CAM_PROXY_SUCCESS) return waited;
  }
}

CAMProxyResult CheckCertificate(SSL* ssl, const ServerCheck& check) {
  if (!check.verify) return CAM_PROXY_SUCCESS;
  const X509Pointer certificate(SSL_get1_peer_certificate(ssl));
  unsigned char digest[EVP_MAX_MD_SIZE];
  unsigned int length = 0;
  if (!certificate ||
      X509_digest(certificate.get(), EVP_sha1(), digest, &length) != 1) {
    ERR_clear_error();
    return CAM_PROXY_CERTIFICATE_NOT_VERIFIED;
  }
  return quarry::common::FormatThumbprint(digest, length) == check.thumbprint
             ? CAM_PROXY_SUCCESS
             : CAM_PROXY_CERTIFICATE_NOT_VERIFIED;
}

// The host's own certificate and key, presented to the proxy. A host that
// has none asks without (the proxy tells it so); one whose files cannot be
// used is a configuration fault.
CAMProxyResult PresentHostCertificate(SSL_CTX* context,
                                      const CamSettings& settings) {
  if (::access(settings.certificateFile.c_str(), F_OK) != 0 &&
      errno == ENOENT) {
    return CAM_PROXY_SUCCESS;
  }
  if (SSL_CTX_use_certificate_chain_file(
          context, settings.certificateFile.c_str()) != 1 ||
      SSL_CTX_use_PrivateKey_file(context, settings.keyFile.c_str(),
                                  SSL_FILETYPE_PEM) != 1 ||
      SSL_CTX_check_private_key(context) != 1) {
    ERR_clear_error();
    syslog(LOG_ERR, "quarrycam: cannot use the host certificate %s with the key %s",
           settings.certificateFile.c_str(), settings.keyFile.c_str());
    return kBadConfiguration;
  }
  return CAM_PROXY_SUCCESS;
}

SslContextPointer MakeContext() {
  SslContextPointer context(SSL_CTX_new(TLS_client_method()));
  if (!context) return context;
  SSL_CTX_set_min_proto_version(context.get(), TLS1_2_VERSION);
  // Trust comes from the imported thumbprint, not from certificate
  // authorities: proxies present self-signed certificates.
  SSL_CTX_set_verify(context.get(), SSL_VERIFY_NONE, nullptr);
  // The proxy may close without a TLS close_notify after its answer.
  SSL_CTX_set_options(context.get(), SSL_OP_IGNORE_UNEXPECTED_EOF);
  return context;
}

}  // namespace

CAMProxyResult ExchangeOverTls(const std::string& address,
                               const CamSettings& settings,
                               const ServerCheck& check,
                               const std::string& request, int& status,
                               std::string& body) {
  UniqueFd socket;
  CAMProxyResult result =
      Connect(address, settings.port, settings.connectTimeoutSeconds, socket);
  if (result != CAM_PROXY_SUCCESS) return result;

  const SslContextPointer context = MakeContext();
  if (context) {
    result = PresentHostCertificate(context.get(), settings);
    if (result != CAM_PROXY_SUCCESS) return result;
  }
  const SslPointer ssl(context ? SSL_new(context.get()) : nullptr);
  if (!ssl || SSL_set_fd(ssl.get(), socket.Get()) != 1) {
    ERR_clear_error();
    return CAM_PROXY_NOT_ENOUGH_MEMORY;
  }
  const Clock::time_point deadline =
      Clock::now() + std::chrono::seconds(settings.replyTimeoutSeconds);
  SSL* const tls = ssl.get();
  const int fd = socket.Get();
  int done = 0;
  result = Drive(tls, fd, deadline, [tls] { return SSL_connect(tls); }, done);
  if (result != CAM_PROXY_SUCCESS) return result;
  if (done == 0) return CAM_PROXY_CONNECTION_INVALID;
  result = CheckCertificate(tls, check);
  if (result != CAM_PROXY_SUCCESS) return result;

  std::string::size_type sent = 0;
  while (sent < request.size()) {
    result = Drive(tls, fd, deadline, [&] {
      return SSL_write(tls, request.data() + sent,
                       static_cast<int>(request.size() - sent));
    }, done);
    if (result != CAM_PROXY_SUCCESS) return result;
    if (done == 0) return CAM_PROXY_CONNECTION_INVALID;
    sent += static_cast<std::string::size_type>(done);
  }

  std::string raw;
  char buffer[4096];
  for (;;) {
    result = Drive(tls, fd, deadline,
                   [&] { return SSL_read(tls, buffer, sizeof buffer); }, done);
    if (result != CAM_PROXY_SUCCESS) return result;
    raw.append(buffer, static_cast<std::string::size_type>(done));
    if (raw.size() > kLargestReply) return CAM_PROXY_CONNECTION_INVALID;
    switch (ParseHttpReply(raw, done == 0, status, body)) {
      case ReplyState::Complete:
        return CAM_PROXY_SUCCESS;
      case ReplyState::Garbled:
        return CAM_PROXY_CONNECTION_INVALID;
      case ReplyState::Incomplete:
        break;
    }
  }
}

}  // namespace quarrycam
