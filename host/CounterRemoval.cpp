#include "host/CounterRemoval.h"

#include <cerrno>
#include <string>

#include <unistd.h>

#include "Zon/Exception.h"
#include "host/Complaint.h"
#include "host/Text.h"
#include "host/Trouble.h"
#include "platform/Pelto/ShmemMan.h"

namespace VaroHost {

namespace {

/// The first line of standard input.
std::string readAnswer() {
  std::string answer;
  char byte = 0;
  ssize_t got = 0;
  while (((got = ::read(STDIN_FILENO, &byte, 1)) > 0 && byte != '\n') || (got < 0 && errno == EINTR)) {
    if (got > 0) {
      answer += byte;
    }
  }
  return got > 0 ? answer : "";
}

bool isYes(std::string const& answer) {
  return answer == "y" || answer == "Y" || answer == "yes" || answer == "Yes" || answer == "YES";
}

}  // namespace

bool CounterRemoval::run(bool isConfirmed) {
  if (list_.shown().empty()) {
    out_.write("nothing to remove\n");
    return true;
  }
  if (!isConfirmed && !ask()) {
    out_.write("nothing removed\n");
    return true;
  }
  bool isDone = true;
  for (CounterObject const* const object : list_.shown()) {
    isDone = remove(*object) && isDone;
  }
  return isDone;
}

bool CounterRemoval::ask() const {
  if (::isatty(STDIN_FILENO) == 0 || ::isatty(STDERR_FILENO) == 0) {
    throw Trouble("--unlink: there is no terminal to ask on; --yes removes without asking");
  }
  for (CounterObject const* const object : list_.shown()) {
    std::size_t const blocks = object->blocks().size();
    std::string const what =
        object->fault().empty() ? fmt::format("{} block{}", blocks, plural(blocks)) : object->fault();
    complain("{}: {}\n", printable(object->name()), what);
  }
  complain("Who has them open goes on, unseen by others. Remove them? [y/N] ");
  return isYes(readAnswer());
}

bool CounterRemoval::remove(CounterObject const& object) {
  std::string const shown = printable(object.name());
  if (!list_.isStillThere(object)) {
    complain("varo-host: {}: it is not there any more, or is another one; nothing removed\n", shown);
    return false;
  }
  try {
    Pelto::ShmemMan::unlink(object.name());
  } catch (Zon::Exception const& error) {
    complain("varo-host: {}\n", error.what());
    return false;
  }
  out_.print("{}: removed\n", shown);
  return true;
}

}  // namespace VaroHost
