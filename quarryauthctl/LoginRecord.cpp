#include "LoginRecord.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "ExitStatus.h"
#include "Output.h"
#include "SystemFile.h"

namespace quarryauthctl {

const char kLoginRecordFolder[] = "/var/lib/quarry/quarryauthctl/login";

namespace {

const std::string kIndex = std::string(kLoginRecordFolder) + "/record.json";

// File contents are kept as files of their own: they need not be UTF-8.
std::string ContentPath(std::size_t number, const char* which) {
  return std::string(kLoginRecordFolder) + "/" + std::to_string(number) +
         "." + which;
}

void MakeFolder(const std::string& path) {
  if (::mkdir(path.c_str(), 0700) != 0 && errno != EEXIST) {
    throw Failure("cannot create '" + path + "': " + std::strerror(errno));
  }
}

void SaveState(const FileState& state, std::size_t number, const char* which,
               Json& entry) {
  entry[std::string(which) + "Exists"] = state.exists;
  if (state.exists) ReplaceSystemFile(ContentPath(number, which), state.content);
}

FileState LoadState(const Json& entry, std::size_t number, const char* which) {
  FileState state;
  state.exists = entry.at(std::string(which) + "Exists").get<bool>();
  if (state.exists) state.content = ReadSystemFile(ContentPath(number, which));
  return state;
}

}  // namespace

bool LoginRecordExists() { return ::access(kIndex.c_str(), F_OK) == 0; }

void SaveLoginRecord(const LoginRecord& record) {
  MakeFolder("/var/lib/quarry");
  MakeFolder("/var/lib/quarry/quarryauthctl");
  MakeFolder(kLoginRecordFolder);
  ::chmod(kLoginRecordFolder, 0700);
  Json document = {{"pamModule", record.pamModule},
                   {"nssModule", record.nssModule},
                   {"services", Json::array()},
                   {"databases", record.databases},
                   {"files", Json::array()}};
  for (const WiredService& service : record.services) {
    document["services"].push_back(
        {{"name", service.name}, {"through", service.through}});
  }
  for (std::size_t i = 0; i < record.files.size(); ++i) {
    Json entry = {{"path", record.files[i].path}};
    SaveState(record.files[i].before, i, "before", entry);
    SaveState(record.files[i].after, i, "after", entry);
    document["files"].push_back(entry);
  }
  ReplaceSystemFile(kIndex, document.dump(2) + "\n");
}

LoginRecord LoadLoginRecord() {
  LoginRecord record;
  try {
    const Json document = Json::parse(ReadSystemFile(kIndex));
    record.pamModule = document.at("pamModule").get<std::string>();
    record.nssModule = document.at("nssModule").get<std::string>();
    for (const Json& service : document.at("services")) {
      record.services.push_back({service.at("name").get<std::string>(),
                                 service.at("through").get<std::string>()});
    }
    record.databases =
        document.at("databases").get<std::vector<std::string>>();
    std::size_t number = 0;
    for (const Json& entry : document.at("files")) {
      FileChange change;
      change.path = entry.at("path").get<std::string>();
      change.before = LoadState(entry, number, "before");
      change.after = LoadState(entry, number, "after");
      record.files.push_back(change);
      ++number;
    }
  } catch (const Json::exception& error) {
    throw Failure("the record of 'login enable' in '" + kIndex +
                  "' cannot be read (" + error.what() + ")");
  }
  return record;
}

void RemoveLoginRecord() {
  const LoginRecord record = LoadLoginRecord();
  for (std::size_t i = 0; i < record.files.size(); ++i) {
    ::unlink(ContentPath(i, "before").c_str());
    ::unlink(ContentPath(i, "after").c_str());
  }
  if (::unlink(kIndex.c_str()) != 0) {
    throw Failure("cannot remove '" + kIndex + "': " + std::strerror(errno));
  }
  ::rmdir(kLoginRecordFolder);
}

}  // namespace quarryauthctl
