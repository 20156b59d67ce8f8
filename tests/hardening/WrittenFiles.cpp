#include "hardening/WrittenFiles.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <stdexcept>

#include <quarryauth/authentication.h>
#include <quarryauth/platform/tesselctl/DnsConfigImpl.h>
#include <quarryauth/platform/tesselctl/HostsFile.h>

#include "authentication/PluginHarness.h"
#include "support/Files.h"

namespace quarryauth_test {

namespace {

namespace qa = quarry::authentication;
using quarry_test::ReadFile;
using quarry_test::Shell;
using quarry_test::WriteFile;

const char kSmallDirectory[] = "/etc/quarry/small";
const char kFiller[] = "filler";

// Enough text that old and new contents each take more than one page.
std::string PaddingLines(const std::string& linePrefix) {
  std::string text;
  for (int i = 0; i < 60; ++i) {
    text += linePrefix + " padding line " + std::to_string(i) +
            " of a file that spans several pages\n";
  }
  return text;
}

// A key-value line exactly as Configuration::Write writes it.
std::string Pair(const std::string& key, const std::string& value) {
  return key + " = \"" + value + "\"\n";
}

Contents Compare(const std::string& actual, const std::string& oldContents,
                 const std::string& newContents) {
  if (actual == oldContents) return Contents::Old;
  if (actual == newContents) return Contents::New;
  return Contents::Other;
}

// Replaces the sandbox's /etc/NAME by a link to the file in the small
// directory, the way some hosts keep these files on another volume.
void LinkFromEtc(const std::string& name) {
  Shell(std::string("mkdir -p ") + kSmallDirectory);
  Shell("rm -f /etc/" + name + " && ln -s " + kSmallDirectory + "/" + name +
        " /etc/" + name);
}

// authentication.conf, rewritten by MakeActive of the Active Directory
// store; another key of the administrator's must survive.
class AuthenticationFile : public WrittenFile {
 public:
  std::string Directory() const override { return "/etc/quarry/quarryauth"; }

  // The store reads provider.conf when it is made, before any small file
  // system hides it.
  void SetUp() override {
    InstallStandardPlugin();
    store = std::make_unique<qa::ActiveDirectoryStore>(30);
  }

  void WriteOld() override { WriteFile(Path(), Text("None")); }

  WriteResult WriteNew() override {
    try {
      store->MakeActive();
      return WriteResult::Written;
    } catch (const qa::FilePermissionError&) {
      return WriteResult::PermissionsUncertain;
    } catch (const qa::IOError&) {
      return WriteResult::Refused;
    }
  }

  Contents Read() override {
    // The file must always parse; the library reads it on every IsActive.
    const qa::AuthenticationConfiguration parsed;
    (void)parsed;
    return Compare(ReadFile(Path()), Text("None"), Text("Active Directory"));
  }

 private:
  static std::string Path() {
    return "/etc/quarry/quarryauth/authentication.conf";
  }
  static std::string Text(const std::string& store) {
    return Pair("padding", std::string(5000, 'x')) +
           Pair("remote-authentication-store", store) +
           Pair("zz-administrator-note", "kept");
  }

  std::unique_ptr<qa::ActiveDirectoryStore> store;
};

// /etc/hosts, given the management address's entry.
class HostsFile : public WrittenFile {
 public:
  std::string Directory() const override { return kSmallDirectory; }
  void SetUp() override { LinkFromEtc("hosts"); }
  void WriteOld() override { WriteFile(Path(), Text("old.example old")); }

  WriteResult WriteNew() override {
    try {
      TesselCtl::Network::HostsFile().AddOrReplaceEntry(
          "192.0.2.5", "node1.ad.test", {"node1"});
      return WriteResult::Written;
    } catch (const HostCtl::Lib::HostCtlException&) {
      return WriteResult::Refused;
    }
  }

  Contents Read() override {
    struct stat link;
    if (::lstat("/etc/hosts", &link) != 0 || !S_ISLNK(link.st_mode)) {
      throw std::runtime_error("/etc/hosts is no longer a link");
    }
    return Compare(ReadFile(Path()), Text("old.example old"),
                   Text("node1.ad.test node1"));
  }

 private:
  static std::string Path() { return std::string(kSmallDirectory) + "/hosts"; }
  static std::string Text(const std::string& names) {
    return "127.0.0.1\tlocalhost\n# the management address\n192.0.2.5\t" +
           names + "\n::1 ip6-localhost\n" + PaddingLines("#");
  }
};

// /etc/resolv.conf, given a DNS search domain.
class ResolverFile : public WrittenFile {
 public:
  std::string Directory() const override { return kSmallDirectory; }
  void SetUp() override { LinkFromEtc("resolv.conf"); }
  void WriteOld() override { WriteFile(Path(), Text("old.test")); }

  WriteResult WriteNew() override {
    try {
      TesselCtl::Network::DnsConfigImpl dns("defaultTcpipStack");
      dns.AddUserSearchDomain("ad.test");
      dns.SaveConfig();
      return WriteResult::Written;
    } catch (const HostCtl::Lib::HostCtlException&) {
      return WriteResult::Refused;
    }
  }

  Contents Read() override {
    return Compare(ReadFile(Path()), Text("old.test"),
                   Text("old.test ad.test"));
  }

 private:
  static std::string Path() {
    return std::string(kSmallDirectory) + "/resolv.conf";
  }
  static std::string Text(const std::string& search) {
    return "nameserver 127.0.0.1\n# search list below\nsearch " + search +
           "\noptions timeout:1 attempts:1\n" + PaddingLines("#");
  }
};

// The proxy certificate thumbprints, changed for one proxy.
class ThumbprintFile : public WrittenFile {
 public:
  std::string Directory() const override { return "/etc/quarry/quarryauth"; }
  void WriteOld() override { WriteFile(Path(), Text(kOld)); }

  WriteResult WriteNew() override {
    try {
      qa::CAMThumbprintStore(Path()).ImportThumbprint(kNew, "proxy1");
      return WriteResult::Written;
    } catch (const qa::FilePermissionError&) {
      return WriteResult::PermissionsUncertain;
    } catch (const qa::IOError&) {
      return WriteResult::Refused;
    }
  }

  Contents Read() override {
    const qa::CAMThumbprintStore parsed(Path());
    (void)parsed;
    return Compare(ReadFile(Path()), Text(kOld), Text(kNew));
  }

 private:
  static constexpr const char* kOld =
      "00:11:22:33:44:55:66:77:88:99:AA:BB:CC:DD:EE:FF:00:11:22:33";
  static constexpr const char* kNew =
      "FF:EE:DD:CC:BB:AA:99:88:77:66:55:44:33:22:11:00:FF:EE:DD:CC";

  static std::string Path() {
    return "/etc/quarry/quarryauth/thumbprints.conf";
  }
  static std::string Text(const std::string& first) {
    return Pair("padding", std::string(5000, 'x')) + Pair("proxy1", first) +
           Pair("proxy2",
                "AB:AB:AB:AB:AB:AB:AB:AB:AB:AB:AB:AB:AB:AB:AB:AB:AB:AB:AB:AB");
  }
};

// The domain record in the host configuration store.
class ConfigStoreRecord : public WrittenFile {
 public:
  std::string Directory() const override { return "/var/lib/quarry"; }

  void WriteOld() override {
    qa::ActiveDirectoryConfigStore().StoreDomainInfo("old.test", "OU=Old",
                                                     "");
  }

  WriteResult WriteNew() override {
    try {
      qa::ActiveDirectoryConfigStore().StoreDomainInfo(
          "new.test", "OU=New", "192.0.2.10");
      return WriteResult::Written;
    } catch (const SkarnConfigStore::ConfigStoreException&) {
      return WriteResult::Refused;
    }
  }

  Contents Read() override {
    const qa::ActiveDirectoryConfigStore store;
    const std::string record = store.GetDomainName() + "|" +
                               store.GetOrganizationalUnit() + "|" +
                               store.GetAuthProxyAddr();
    return Compare(record, "old.test|OU=Old|", "new.test|OU=New|192.0.2.10");
  }
};

}  // namespace

const char* Describe(WriteResult result) {
  switch (result) {
    case WriteResult::Written:
      return "written";
    case WriteResult::Refused:
      return "refused";
    case WriteResult::PermissionsUncertain:
      return "permissions uncertain";
  }
  return "?";
}

const char* Describe(Contents contents) {
  switch (contents) {
    case Contents::Old:
      return "old contents";
    case Contents::New:
      return "new contents";
    case Contents::Other:
      return "other contents";
  }
  return "?";
}

std::vector<std::string> WrittenFileNames() {
  return {"authentication.conf", "hosts", "resolv.conf", "thumbprints",
          "configstore"};
}

std::unique_ptr<WrittenFile> MakeWrittenFile(const std::string& name) {
  if (name == "authentication.conf") {
    return std::make_unique<AuthenticationFile>();
  }
  if (name == "hosts") return std::make_unique<HostsFile>();
  if (name == "resolv.conf") return std::make_unique<ResolverFile>();
  if (name == "thumbprints") return std::make_unique<ThumbprintFile>();
  if (name == "configstore") return std::make_unique<ConfigStoreRecord>();
  throw std::invalid_argument("no written file " + name);
}

std::string IdentifierOf(const std::string& name) {
  std::string identifier;
  for (unsigned char c : name) {
    identifier += std::isalnum(c) ? static_cast<char>(c) : '_';
  }
  return identifier;
}

void MountSmallFileSystem(const std::string& directory) {
  Shell("mkdir -p " + directory + " && mount -t tmpfs -o size=256k,mode=0700 "
        "tmpfs " + directory);
}

void FillFileSystem(const std::string& directory) {
  const std::string path = directory + "/" + kFiller;
  const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
  if (file < 0) throw std::runtime_error("cannot create " + path);
  const std::string block(4096, 'f');
  // Whole blocks first, then single bytes for what a block no longer fits.
  for (std::size_t size = block.size(); size > 0; size = size == 1 ? 0 : 1) {
    while (::write(file, block.data(), size) > 0) {
    }
  }
  const int error = errno;
  ::close(file);
  if (error != ENOSPC) throw std::runtime_error("filling stopped early");
}

void EmptyFiller(const std::string& directory) {
  Shell("rm -f " + directory + "/" + kFiller);
}

void RemountReadOnly(const std::string& directory) {
  Shell("mount -o remount,ro " + directory);
}

void RemountWritable(const std::string& directory) {
  Shell("mount -o remount,rw " + directory);
}

}  // namespace quarryauth_test
