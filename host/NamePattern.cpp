#include "host/NamePattern.h"

#include <algorithm>

#include <fnmatch.h>

namespace VaroHost {

NamePattern::Match NamePattern::match(std::string_view name) const {
  if (!isShellPattern_) {
    return !name.starts_with(text_) ? Match::none : name.size() == text_.size() ? Match::whole : Match::prefix;
  }
  // fnmatch() would stop at a zero byte. No argument holds one, so that another unlikely byte can stand for it.
  std::string text(name);
  std::replace(text.begin(), text.end(), '\0', '\1');
  return ::fnmatch(text_.c_str(), text.c_str(), 0) == 0 ? Match::whole : Match::none;
}

}  // namespace VaroHost
