#include "host/Plugin.h"

#include <string>

#include <dlfcn.h>
#include <fmt/format.h>
#include <unistd.h>

#include "host/Trouble.h"

namespace VaroHost {

Plugin::Plugin(std::string const& file) {
  // A name without a slash is looked for along the program's run path, not in the working directory.
  std::string name = file.empty() ? VARO_PLUGIN_SONAME : file;
  if (name.find('/') == std::string::npos && !file.empty() && ::access(name.c_str(), F_OK) == 0) {
    name.insert(0, "./");
  }
  if (dlopen(name.c_str(), RTLD_NOW | RTLD_LOCAL) == nullptr) {
    char const* const reason = dlerror();
    throw Trouble(fmt::format("cannot load the plug-in: {}", reason != nullptr ? reason : name));
  }
}

}  // namespace VaroHost
