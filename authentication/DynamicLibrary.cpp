#include "authentication/DynamicLibrary.h"

#include <dlfcn.h>

namespace quarry {
namespace authentication {

namespace {

const char kPluginDirectory[] = "/usr/libexec/quarryauth/";

std::string LoaderError() {
  const char* text = ::dlerror();
  return text == nullptr ? std::string() : std::string(text);
}

}  // namespace

const char kPlainPluginNameRule[] =
    "The provider name must not contain '/' or be '.' or '..'";

bool IsPlainPluginName(const std::string& name) {
  return name.find('/') == std::string::npos &&
         name.find('\0') == std::string::npos && name != "." && name != "..";
}

std::string PrimaryPluginPath(const std::string& name) {
  return std::string(kPluginDirectory) + "lib64" + "/" + "lib" + name + ".so";
}

std::string FallbackPluginPath(const std::string& name) {
  return std::string(kPluginDirectory) + "lib" + name + ".so";
}

DynamicLibrary::~DynamicLibrary() { Close(); }

bool DynamicLibrary::OpenPlugin(const std::string& name, std::string& error) {
  Close();
  ::dlerror();
  handle_ = ::dlopen(PrimaryPluginPath(name).c_str(), RTLD_LAZY | RTLD_GLOBAL);
  if (handle_ != nullptr) return true;
  ::dlerror();
  handle_ = ::dlopen(FallbackPluginPath(name).c_str(), RTLD_LAZY | RTLD_GLOBAL);
  if (handle_ != nullptr) return true;
  error = LoaderError();
  return false;
}

void* DynamicLibrary::Symbol(const char* name, std::string& error) const {
  ::dlerror();
  void* address = ::dlsym(handle_, name);
  if (address == nullptr) error = LoaderError();
  return address;
}

void DynamicLibrary::Close() {
  if (handle_ != nullptr) ::dlclose(handle_);
  handle_ = nullptr;
}

}  // namespace authentication
}  // namespace quarry
