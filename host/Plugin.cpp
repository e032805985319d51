#include "host/Plugin.h"

#include <dlfcn.h>
#include <fmt/format.h>

#include "host/Trouble.h"

namespace VaroHost {

Plugin::Plugin(std::string const& file) {
  // A name without a slash is looked for along the program's run path.
  char const* const name = file.empty() ? VARO_PLUGIN_SONAME : file.c_str();
  if (dlopen(name, RTLD_NOW | RTLD_LOCAL) == nullptr) {
    char const* const reason = dlerror();
    throw Trouble(fmt::format("cannot load the plug-in: {}", reason != nullptr ? reason : name));
  }
}

}  // namespace VaroHost
