#include <algorithm>
#include <regex>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "HostProcess.h"

// The program on pseudo-terminals: what is for people's eyes appears there, and nowhere else.

namespace {

constexpr char red[] = "\x1b[31m";
constexpr char wipe[] = "\r\x1b[K";

std::string const lineCard = VARO_EXAMPLES_DIR "/line-card.jsonl";

/// Begins the program with just these settings of its environment, whatever the test's own are.
std::vector<std::string> with(std::vector<std::string> settings) {
  settings.insert(settings.begin(), {"env", "-u", "NO_COLOR"});
  settings.emplace_back(VARO_HOST_PROGRAM);
  return settings;
}

HostResult run(Outlet outlet, std::vector<std::string> arguments, std::vector<std::string> settings = {"TERM=xterm"}) {
  HostProcess process(std::move(arguments), "", false, with(std::move(settings)), outlet);
  int const status = process.finish();
  return {status, process.out(), process.err()};
}

/// The text without its colours.
std::string plain(std::string const& text) { return std::regex_replace(text, std::regex("\x1b\\[[0-9]*m"), ""); }

std::string badLines(int count) {
  std::string lines;
  for (int at = 0; at < count; ++at) {
    lines += "x\n";
  }
  return lines;
}

}  // namespace

TEST(Terminal, ATableIsColouredOnATerminalOnly) {
  std::string const table = readFile(VARO_SOURCE_DIR "/tests/host/data/line-card.table");
  auto const terminal = run(Outlet::terminal, {"replay", lineCard});
  EXPECT_EQ(terminal.status, 0) << terminal.err;
  EXPECT_NE(terminal.out.find(red), std::string::npos) << terminal.out;
  EXPECT_EQ(plain(terminal.out), table);
  EXPECT_EQ(run(Outlet::terminal, {"replay", "--color=auto", lineCard}).out, terminal.out);
  EXPECT_EQ(run(Outlet::pipe, {"replay", lineCard}).out, table);
  EXPECT_EQ(run(Outlet::pipe, {"replay", "--color=always", lineCard}).out, terminal.out);
}

TEST(Terminal, ColourCanBeDeclined) {
  std::string const table = readFile(VARO_SOURCE_DIR "/tests/host/data/line-card.table");
  EXPECT_EQ(run(Outlet::terminal, {"replay", lineCard}, {"TERM=xterm", "NO_COLOR=1"}).out, table);
  EXPECT_EQ(run(Outlet::terminal, {"replay", lineCard}, {"TERM=dumb"}).out, table);
  EXPECT_EQ(run(Outlet::terminal, {"replay", "--color=never", lineCard}).out, table);
  EXPECT_NE(run(Outlet::terminal, {"replay", "--color=always", lineCard}, {"TERM=xterm", "NO_COLOR=1"}).out.find(red),
            std::string::npos);
}

TEST(Terminal, JsonIsNeverColoured) {
  EXPECT_EQ(run(Outlet::terminal, {"replay", "--json", lineCard}).out,
            run(Outlet::pipe, {"replay", "--json", lineCard}).out);
}

TEST(Terminal, ALongReplayShowsItsProgressAndWipesIt) {
  // Its many complaints fill the terminal, so that the program stands until somebody reads on: that makes it long.
  constexpr int bad = 6000;
  ScratchDirectory const scratch;
  std::string const file = scratch.write("recording.jsonl", badLines(bad));
  HostProcess process({"replay", "--keep-going", file}, "", false, with({"TERM=xterm"}), Outlet::terminal);
  ASSERT_TRUE(process.waitForError(":1:"));
  ::usleep(700000);
  EXPECT_EQ(process.finish(), 1);

  // What the terminal shows at the end, and whatever it showed for a while.
  std::string const& written = process.err();
  std::string shown;
  std::vector<std::string> wiped;
  for (std::size_t at = 0; at < written.size();) {
    std::size_t const next = std::min(written.find(wipe, at), written.size());
    shown += written.substr(at, next - at);
    if (next != written.size()) {
      std::size_t const lineBegin = shown.rfind('\n') + 1;
      wiped.push_back(shown.substr(lineBegin));
      shown.erase(lineBegin);
    }
    at = std::min(next + sizeof wipe - 1, written.size());
  }
  EXPECT_EQ(std::count(shown.begin(), shown.end(), '\n'), bad);
  EXPECT_TRUE(shown.ends_with("\n")) << shown.substr(shown.rfind('\n'));
  EXPECT_EQ(shown.find("replay: "), std::string::npos);
  bool isDrawn = false;
  for (std::string const& line : wiped) {
    isDrawn = isDrawn || std::regex_match(line, std::regex("replay: [0-9]+%, [0-9]+ lines"));
    EXPECT_TRUE(line.empty() || line.starts_with("replay: ")) << line;
  }
  EXPECT_TRUE(isDrawn);
  EXPECT_EQ(process.out(), "Interface  Admin  Active  State  Reason\n\n0 interfaces: 0 enabled, 0 disabled\n");
}

TEST(Terminal, NoProgressIsDrawnElsewhere) {
  ScratchDirectory const scratch;
  std::string const file = scratch.write("recording.jsonl", badLines(6000));
  for (bool const isFollowing : {false, true}) {
    std::vector<std::string> arguments = {"replay", "--keep-going", file};
    if (isFollowing) {
      arguments.emplace_back("--follow");
    }
    HostProcess process(arguments, "", false, with({"TERM=xterm"}), isFollowing ? Outlet::terminal : Outlet::pipe);
    ASSERT_TRUE(process.waitForError(":1:"));
    ::usleep(700000);
    EXPECT_EQ(process.finish(), 1);
    EXPECT_EQ(process.err().find('\x1b'), std::string::npos);
  }
}
