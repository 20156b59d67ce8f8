// An opened plug-in shared object, closed when the owner lets go of it.
#ifndef QUARRYAUTH_AUTHENTICATION_DYNAMICLIBRARY_H
#define QUARRYAUTH_AUTHENTICATION_DYNAMICLIBRARY_H

#include <string>

namespace quarry {
namespace authentication {

class DynamicLibrary {
 public:
  DynamicLibrary() : handle_(nullptr) {}
  ~DynamicLibrary();
  DynamicLibrary(const DynamicLibrary&) = delete;
  DynamicLibrary& operator=(const DynamicLibrary&) = delete;

  // Opens lib<name>.so from the plug-in directory's lib64 subdirectory, or
  // else from the directory itself, with lazy binding and global symbols.
  // Returns false and sets error to the loader's text of the second attempt
  // when neither opens.
  bool OpenPlugin(const std::string& name, std::string& error);

  // The address of a data or function symbol, or null; error receives the
  // loader's text (empty when it has none).
  void* Symbol(const char* name, std::string& error) const;

  // Closes the library now (null handle afterwards).
  void Close();

  bool IsOpen() const { return handle_ != nullptr; }

 private:
  void* handle_;
};

// Whether name can only name a file in the plug-in directory: no "/", no
// NUL, not "." or "..". A name from a configuration file is checked with
// this before it is opened, so that it cannot reach a file elsewhere.
bool IsPlainPluginName(const std::string& name);
extern const char kPlainPluginNameRule[];

// The two places the library looks for plug-in name.
std::string PrimaryPluginPath(const std::string& name);
std::string FallbackPluginPath(const std::string& name);

}  // namespace authentication
}  // namespace quarry

#endif
