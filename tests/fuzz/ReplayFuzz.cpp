// Recordings: any bytes cut into lines, every line read, and what it says done to a device.

#include <string>

#include "Fuzz.h"
#include "Links.h"
#include "MemoryFile.h"
#include "host/ChangeReader.h"
#include "host/DeviceState.h"
#include "host/LineReader.h"
#include "host/Output.h"
#include "host/StateFile.h"

using Fuzz::require;
using VaroHost::Change;
using VaroHost::LineReader;

namespace {

void checkChange(Change const& change, std::string_view line) {
  require(change.entity != nullptr && change.time.count() >= 0, "a change has an entity and a time");
  for (std::size_t at = 0; at < change.entity->keyCount(); ++at)
    require(!change.keys[at].empty() && change.keys[at].size() <= VaroHost::ChangeReader::maxNameBytes,
            "names are within their limits");
  require(change.entity->apply[static_cast<std::size_t>(change.operation)] != nullptr, "the operation is offered");
  require(change.attribute == nullptr || change.value.type == change.attribute->type, "a value has its type");
  for (std::uint32_t const column : change.columns)
    require(column <= line.size(), "members stand in their line");
}

std::string stateOf(VaroHost::Device const& device) {
  Fuzz::MemoryFile const file;
  {
    VaroHost::Output out(file.descriptor());
    VaroHost::DeviceState(device).print(out);
  }
  return file.bytes();
}

class Player {
 public:
  void play(std::string_view line) {
    if (VaroHost::ChangeReader::isBlank(line)) return;
    std::string before;
    try {
      Change const& change = reader_.read(line);
      checkChange(change, line);
      before = stateOf(device_);
      device_.apply(change);
      follower_.flush(
          [](auto const& transition) { require(transition.before != transition.after, "a change changes"); });
    } catch (VaroHost::LineError const& error) {
      require(error.column() >= 1 && error.column() <= line.size() + 1, "a line is at fault somewhere");
      require(VaroHost::findInvalidUtf8(error.what()) == std::string::npos, "the fault can be shown");
    } catch (VaroHost::ChangeError const& error) {
      require(VaroHost::findInvalidUtf8(error.what()) == std::string::npos, "the reason can be shown");
      require(stateOf(device_) == before, "what was refused changed nothing");
      follower_.flush([](auto const&) { require(false, "nor was it told"); });
    }
    Fuzz::checkStates(device_);
  }

  void finish() const { VaroHost::StateFile::parse(stateOf(device_), "what was reached is a state"); }

 private:
  VaroHost::ChangeReader reader_;
  VaroHost::StateFollower follower_;
  VaroHost::Device device_{&follower_};
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  Fuzz::Input input(data, size);
  Player player;
  // The reader of lines brings a large buffer: it takes its turn.
  if (size % 16 != 0) {
    while (!input.atEnd())
      player.play(input.until('\n'));
  } else {
    std::string_view const text = input.rest();
    Fuzz::MemoryFile const file(text);
    LineReader lines(file.descriptor());
    for (auto result = lines.next(); result != LineReader::Result::end; result = lines.next()) {
      if (result == LineReader::Result::again) continue;
      require(result == LineReader::Result::line, "short lines are read");
      require(lines.line() == input.until('\n'), "lines are what stands between newlines");
      player.play(lines.line());
    }
    require(input.atEnd() && lines.offset() == text.size(), "nothing is left out");
  }
  player.finish();
  return 0;
}
