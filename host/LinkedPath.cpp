#include "host/LinkedPath.h"

#include <climits>
#include <cstddef>

#include <sys/stat.h>
#include <unistd.h>

namespace VaroHost {

namespace {

/// Takes the first component off a path; empty when there is none left.
std::string takeComponent(std::string& path) {
  std::size_t const begin = path.find_first_not_of('/');
  if (begin == std::string::npos) {
    path.clear();
    return "";
  }
  std::size_t const end = path.find('/', begin);
  std::string component = path.substr(begin, end == std::string::npos ? end : end - begin);
  path.erase(0, end);
  return component;
}

}  // namespace

std::string linkTarget(std::string const& link) {
  char buffer[PATH_MAX];
  ssize_t const length = ::readlink(link.c_str(), buffer, sizeof buffer);
  return {buffer, length < 0 ? 0 : static_cast<std::size_t>(length)};
}

void walkLinkedPath(std::string const& path, PlaceVisitor const& visit) {
  std::string rest = path;
  // With its slash at the end, so that a name can follow.
  std::string directory = rest.starts_with('/') ? "/" : "./";
  int links = 0;
  for (std::string name = takeComponent(rest); !name.empty(); name = takeComponent(rest)) {
    if (name == ".") {
      continue;
    }
    std::string const whole = directory + name;
    if (name != "..") {
      visit(directory, name);
    }
    struct stat facts {};
    if (::lstat(whole.c_str(), &facts) != 0) {
      return;
    }
    if (S_ISLNK(facts.st_mode)) {
      std::string const next = linkTarget(whole);
      if (next.empty() || ++links > maxLinks) {
        return;
      }
      // What is left begins with its slash.
      rest.insert(0, next);
      if (next.front() == '/') {
        directory = "/";
      }
    } else if (S_ISDIR(facts.st_mode)) {
      directory = whole + "/";
    } else {
      return;
    }
  }
}

}  // namespace VaroHost
