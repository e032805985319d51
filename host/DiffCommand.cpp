#include "host/DiffCommand.h"

#include <utility>

#include "host/StateDiff.h"
#include "host/StateFile.h"
#include "host/Trouble.h"

namespace VaroHost {

DiffCommand::DiffCommand(DiffOptions options, Output& out) : options_(std::move(options)), out_(out) {}

int DiffCommand::run() {
  if (options_.before == "-" && options_.after == "-") {
    throw Trouble("diff: only one of the states can come from standard input");
  }
  auto const before = StateFile::read(options_.before);
  auto const after = StateFile::read(options_.after);
  return StateDiff(out_, options_.isJson).print(before, after) ? ExitStatus::fine : ExitStatus::different;
}

}  // namespace VaroHost
