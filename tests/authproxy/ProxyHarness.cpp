#include "authproxy/ProxyHarness.h"

#include <arpa/inet.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <stdexcept>
#include <thread>

#include "support/Files.h"

namespace authproxy_test {

using quarry_test::ReadFile;
using quarry_test::Shell;

void MakeCertificate(const std::string& name) {
  Shell("openssl req -x509 -newkey rsa:2048 -nodes -days 2 -subj "
        "/CN=cam.ad.test -keyout /etc/quarry/" + name + ".key -out /etc/quarry/" +
        name + ".pem 2>/dev/null");
}

std::string DomainProxySettings(const std::string& extra) {
  return "listen-address = \"198.51.100.10\"\n"
         "certificate-file = \"/etc/quarry/authproxyd.pem\"\n"
         "key-file = \"/etc/quarry/authproxyd.key\"\n"
         "domain = \"ad.test\"\n"
         "service-user = \"Administrator\"\n"
         "password-file = \"/etc/quarry/authproxyd.secret\"\n"
         "allowed-networks = \"198.51.100.1\"\n" +
         extra;
}

void MakeHostCertificate(const std::string& host) {
  Shell("openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 "
        "-nodes -days 2 -subj /CN=" + host + " -addext subjectAltName=DNS:" +
        host + " -keyout /etc/quarry/" + host + ".key -out /etc/quarry/" +
        host + ".pem 2>/dev/null");
}

void MakeAuthorityIssuedCertificate(const std::string& host) {
  Shell("test -e /etc/quarry/hosts-ca.pem || "
        "openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes "
        "-days 2 -subj /CN=Hosts-CA -keyout /etc/quarry/hosts-ca.key "
        "-out /etc/quarry/hosts-ca.pem 2>/dev/null");
  quarry_test::WriteFile("/etc/quarry/" + host + ".ext",
                         "subjectAltName=DNS:" + host + "\n");
  Shell("openssl req -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes "
        "-subj /CN=" + host + " -keyout /etc/quarry/" + host + ".key "
        "-out /var/lib/quarry-test-" + host + ".csr 2>/dev/null && "
        "openssl x509 -req -in /var/lib/quarry-test-" + host + ".csr "
        "-CA /etc/quarry/hosts-ca.pem -CAkey /etc/quarry/hosts-ca.key "
        "-CAcreateserial -days 2 -extfile /etc/quarry/" + host + ".ext "
        "-out /etc/quarry/" + host + ".pem 2>/dev/null");
}

bool KerberosLogon(const std::string& principal, const std::string& password) {
  quarry_test::WriteFile("/var/lib/quarry-test-kinit.in", password + "\n");
  return std::system(("KRB5CCNAME=MEMORY:test kinit '" + principal +
                      "' < /var/lib/quarry-test-kinit.in > /dev/null 2>&1")
                         .c_str()) == 0;
}

void UseHostCertificate(const std::string& host) {
  if (host.empty()) {
    Shell("rm -f /etc/quarry/quarrycam.conf");
    return;
  }
  quarry_test::WriteFile("/etc/quarry/quarrycam.conf",
            "certificate-file = \"/etc/quarry/" + host + ".pem\"\n"
            "key-file = \"/etc/quarry/" + host + ".key\"\n");
}

namespace {

// The certificate's fingerprint with digest ("sha1", "sha256") as openssl
// prints it.
std::string OpensslFingerprint(const std::string& pemPath,
                               const std::string& digest) {
  Shell("openssl x509 -in " + pemPath + " -noout -fingerprint -" + digest +
        " | cut -d= -f2 > /var/lib/quarry-test-thumbprint.txt");
  std::string text = ReadFile("/var/lib/quarry-test-thumbprint.txt");
  while (!text.empty() && text.back() == '\n') text.pop_back();
  return text;
}

}  // namespace

std::string OpensslThumbprint(const std::string& pemPath) {
  return OpensslFingerprint(pemPath, "sha1");
}

std::string OpensslSha256Thumbprint(const std::string& pemPath) {
  return OpensslFingerprint(pemPath, "sha256");
}

Daemon::Daemon(const std::vector<std::string>& arguments,
               const std::string& logPath, const std::string& path,
               bool ignoreChildSignal) {
  std::vector<char*> argv;
  for (const std::string& argument : arguments) {
    argv.push_back(const_cast<char*>(argument.c_str()));
  }
  argv.push_back(nullptr);
  pid_ = ::fork();
  if (pid_ < 0) throw std::runtime_error("fork failed");
  if (pid_ == 0) {
    const int in = ::open("/dev/null", O_RDONLY);
    const int out = ::open(logPath.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
    if (in < 0 || out < 0) _exit(126);
    ::dup2(in, STDIN_FILENO);
    ::dup2(out, STDOUT_FILENO);
    ::dup2(out, STDERR_FILENO);
    if (!path.empty()) ::setenv("PATH", path.c_str(), 1);
    // An ignored signal stays ignored across exec.
    if (ignoreChildSignal) ::signal(SIGCHLD, SIG_IGN);
    ::execvp(argv[0], argv.data());
    _exit(127);
  }
}

Daemon::~Daemon() { Stop(); }

int Daemon::WaitForExit(std::chrono::seconds limit) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  while (pid_ > 0) {
    int status = 0;
    const pid_t done = ::waitpid(pid_, &status, WNOHANG);
    if (done == pid_) {
      pid_ = -1;
      status_ = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
      break;
    }
    if (std::chrono::steady_clock::now() >= deadline) return -1;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return status_;
}

int Daemon::Stop() {
  if (pid_ <= 0) return status_;
  ::kill(pid_, SIGTERM);
  if (WaitForExit(std::chrono::seconds(10)) < 0 && pid_ > 0) {
    ::kill(pid_, SIGKILL);
    ::waitpid(pid_, nullptr, 0);
    pid_ = -1;
    status_ = -1;
  }
  return status_;
}

bool WaitForPort(const std::string& address, int port,
                 std::chrono::seconds limit) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  sockaddr_in server{};
  server.sin_family = AF_INET;
  server.sin_port = htons(static_cast<uint16_t>(port));
  ::inet_pton(AF_INET, address.c_str(), &server.sin_addr);
  while (std::chrono::steady_clock::now() < deadline) {
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const bool connected =
        ::connect(fd, reinterpret_cast<sockaddr*>(&server), sizeof server) == 0;
    ::close(fd);
    if (connected) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  return false;
}

CamPlugin::CamPlugin()
    : handle_(::dlopen(QUARRYCAM_PLUGIN, RTLD_NOW | RTLD_LOCAL)),
      table_(nullptr) {
  if (handle_ == nullptr) throw std::runtime_error(::dlerror());
  table_ = static_cast<const CAMProxyClientOperationTable*>(
      ::dlsym(handle_, CAM_PROXY_CLIENT_OPERATIONS_SYMBOL));
  if (table_ == nullptr) throw std::runtime_error("no operations table");
}

CamPlugin::~CamPlugin() { ::dlclose(handle_); }

namespace {

// Copies and releases what the plug-in returned.
std::string Take(const CAMProxyClientOperationTable* table, char* text) {
  if (text == nullptr) return std::string();
  std::string copy = text;
  table->Release(text);
  return copy;
}

}  // namespace

CamPlugin::Domain CamPlugin::GetDomainInfo(const std::string& server,
                                           bool verify,
                                           const std::string& thumbprint) const {
  char* netbios = nullptr;
  char* dns = nullptr;
  char* sid = nullptr;
  Domain domain;
  domain.result = table_->GetDomainInfo(server.c_str(), verify ? 1 : 0,
                                        thumbprint.c_str(), &netbios, &dns, &sid);
  domain.stringsReturned = netbios || dns || sid;
  domain.netbiosName = Take(table_, netbios);
  domain.dnsName = Take(table_, dns);
  domain.sid = Take(table_, sid);
  return domain;
}

CamPlugin::Account CamPlugin::CreateMachineAccount(
    const std::string& server, const std::string& account,
    const std::string& container, bool verify,
    const std::string& thumbprint) const {
  char* first = nullptr;
  char* second = nullptr;
  Account result;
  result.result = table_->CreateMachineAccount(
      server.c_str(), account.c_str(),
      container.empty() ? nullptr : container.c_str(), verify ? 1 : 0,
      thumbprint.c_str(), &first, &second);
  result.stringsReturned = first || second;
  result.dn = Take(table_, first);
  result.oneTimePassword = Take(table_, second);
  return result;
}

}  // namespace authproxy_test
