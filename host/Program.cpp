#include "host/Program.h"

#include <charconv>
#include <concepts>
#include <csignal>
#include <exception>
#include <functional>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>
#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include "Zon/Exception.h"
#include "host/AtomicFile.h"
#include "host/Complaint.h"
#include "host/CountersCommand.h"
#include "host/DiffCommand.h"
#include "host/LiveCommand.h"
#include "host/Options.h"
#include "host/Output.h"
#include "host/Plugin.h"
#include "host/ReplayCommand.h"
#include "host/Text.h"
#include "host/TraceSwitches.h"
#include "host/Trouble.h"

namespace VaroHost {

namespace {

constexpr char footer[] = "Exit status: 0 all went well; 1 a line, an entry, a link or an object could not be handled; "
                          "2 wrong usage or trouble.";

/// A number of seconds; comparisons alone would let nan pass.
CLI::Validator seconds(double least) {
  return {[least](std::string const& text) {
            double number = 0;
            auto const read = std::from_chars(text.data(), text.data() + text.size(), number);
            bool const isRight =
                read.ec == std::errc() && read.ptr == text.data() + text.size() && number >= least && number <= 1e9;
            return isRight ? std::string() : fmt::format("{} is no number of seconds from {} to 1e9", text, least);
          },
          ""};
}

/// A name or file that is given but empty would mean the same as none.
CLI::Validator notEmpty() {
  return {[](std::string const& text) { return text.empty() ? std::string("must not be empty") : std::string(); }, ""};
}

void addCommon(CLI::App& command, CommonOptions& options, std::string const& followed) {
  static std::map<std::string, Colour> const colours = {
      {"auto", Colour::automatic}, {"always", Colour::always}, {"never", Colour::never}};
  command.add_flag("--follow", options.isFollowing, followed);
  command.add_flag("--json", options.isJson, "Print JSON in the names of RFC 8343 instead of a table");
  command
      .add_option_function<std::string>(
          "--color", [&options](std::string const& word) { options.colour = colours.at(word); },
          "When to colour: auto, always or never")
      ->check(CLI::IsMember({"auto", "always", "never"}))
      ->option_text("WHEN");
  command.add_option("--trace", options.traces, "Print trace lines of a facility, such as Errdisable=7,8 (repeatable)")
      ->allow_extra_args(false)
      ->option_text("FACILITY=LEVEL");
  command
      .add_option("--state", options.stateFile,
                  "At the end write the complete state, as JSON, into this file; - for standard output alone")
      ->check(notEmpty())
      ->option_text("FILE");
  command
      .add_option("--counters", options.counterMemory,
                  "Keep counter blocks where other processes see them: in shared memory NAME.intf and NAME.queue")
      ->check(notEmpty())
      ->option_text("NAME");
  command.add_option("--plugin", options.plugin, "Load this plug-in library instead of the program's own")
      ->check(notEmpty())
      ->option_text("FILE");
}

void addReplay(CLI::App& command, ReplayOptions& options) {
  command.add_option("FILE", options.file, "Recording to play, one JSON object a line; - for standard input")
      ->required();
  command.add_flag("--pace", options.isPaced, "Keep the recorded time instead of full speed");
  command.add_flag("--keep-going", options.keepsGoing, "Report a line that cannot be applied and continue");
  addCommon(command, options, "Print each change of state and reason as it happens");
  command.footer(footer);
}

void addLive(CLI::App& command, LiveOptions& options) {
  command.add_option("--duration", options.duration, "Go on for so many seconds")
      ->check(seconds(0))
      ->option_text("SECONDS");
  command
      .add_option("--interval", options.interval, "Take the kernel's statistics every so many seconds, 1 when left out")
      ->check(seconds(0.01))
      ->option_text("SECONDS");
  command
      .add_option("--errdisable", options.errdisableFile,
                  "Error-disable what this file lists: interface, blank, reason a line; watched for changes")
      ->check(notEmpty())
      ->option_text("FILE");
  auto* const enforce = command.add_flag("--enforce", options.isEnforcing,
                                         "Set error-disabled interfaces down, and up when they recover");
  command.add_flag("--leave-down", options.leavesDown, "At the end leave down what is held down")->needs(enforce);
  addCommon(command, options, "Print changes as they happen, until Ctrl-C");
  command.footer(footer);
}

void addDiff(CLI::App& command, DiffOptions& options) {
  command
      .add_option("A", options.before, "State to compare, as --state wrote it; - for standard input, as one of the two")
      ->required();
  command.add_option("B", options.after, "State to compare it with")->required();
  command.add_flag("--json", options.isJson, "Print each difference as a JSON document");
  command.footer("Exit status: 0 the states are the same; 1 they differ; 2 wrong usage or trouble.");
}

void addCounters(CLI::App& command, CountersOptions& options) {
  command.add_option("NAME", options.names,
                     "Objects or blocks to show: an exact name, else the beginning of names, or a shell pattern; "
                     "everything when left out");
  auto* const json = command.add_flag("--json", options.isJson, "Print JSON instead of a table");
  auto* const watch = command.add_flag("--watch", options.isWatching, "Go on and show what changes, until Ctrl-C");
  command.add_option("--interval", options.interval, "Seconds between two looks, 1 when left out")
      ->check(seconds(0.01))
      ->needs(watch)
      ->option_text("SECONDS");
  command.add_option("--duration", options.duration, "Watch for so many seconds")
      ->check(seconds(0))
      ->needs(watch)
      ->option_text("SECONDS");
  auto* const unlink =
      command.add_flag("--unlink", options.isUnlinking, "Remove these objects, after asking on the terminal");
  unlink->excludes(watch)->excludes(json);
  command.add_flag("--yes", options.isConfirmed, "Remove without asking")->needs(unlink);
  command.footer(footer);
}

/// Errors: `Trouble` when something was not written.
void finish(Output& out) {
  out.flush();
  if (out.error() != 0) {
    throw Trouble("standard output", out.error());
  }
}

template <class Command, class Options>
int runCommand(Options const& options) {
  std::optional<Plugin> plugin;
  if constexpr (std::derived_from<Options, CommonOptions>) {
    // Better now than after hours of work.
    if (!options.stateFile.empty() && !options.isStateOutput()) {
      AtomicFile::check(options.stateFile);
    }
    plugin.emplace(options.plugin);
    TraceSwitches::apply(options.traces);
  }
  Output out(STDOUT_FILENO);
  int const status = Command(options, out).run();
  finish(out);
  return status;
}

/// A standard descriptor that came closed would go to the next file or socket, which then took what is meant for people.
/// The wrong access makes using it the error that it was.
void occupyStandardDescriptors() {
  for (int const descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (::fcntl(descriptor, F_GETFD) < 0) {
      ::open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY);
    }
  }
}

/// What to say when there is no command among the arguments, or a word that is none.
std::string explainMissingCommand(CLI::App const& app) {
  std::string text = "expected a command, one of";
  char const* separator = " ";
  for (CLI::App const* const command : app.get_subcommands([](CLI::App const*) { return true; })) {
    text += std::exchange(separator, ", ") + command->get_name();
  }
  if (std::vector<std::string> const words = app.remaining(); !words.empty()) {
    text += fmt::format("; not \"{}\"", excerpt(words.front()));
  }
  return text;
}

int refuse(std::string_view usage) {
  complain("varo-host: {}\nRun with --help for more information.\n", usage);
  return ExitStatus::trouble;
}

int runGuarded(std::function<int()> const& command) {
  try {
    return command();
  } catch (std::exception const& error) {
    complain("varo-host: {}\n", error.what());
  }
  return ExitStatus::trouble;
}

/// Help and version, which the parser treats as errors too, or what is wrong with the command line.
int answer(CLI::App const& app, CLI::ParseError const& error) {
  if (error.get_exit_code() != static_cast<int>(CLI::ExitCodes::Success)) {
    bool const isCommandMissing =
        dynamic_cast<CLI::RequiredError const*>(&error) != nullptr && app.get_subcommands().empty();
    return refuse(isCommandMissing ? explainMissingCommand(app) : printable(error.what()));
  }
  std::ostringstream text;
  app.exit(error, text);
  Output out(STDOUT_FILENO);
  out.write(text.str());
  finish(out);
  return ExitStatus::fine;
}

}  // namespace

int Program::run(int argc, char const* const* argv) {
  // A reader that goes shows in write(), a signal would leave no time for a clean end.
  std::signal(SIGPIPE, SIG_IGN);
  occupyStandardDescriptors();

  CLI::App app("Errdisable enforcement on a recorded device or on this machine's interfaces.", "varo-host");
  app.set_version_flag("--version", "varo-host " VARO_VERSION);
  app.require_subcommand(1);
  app.footer(footer);
  ReplayOptions replay;
  LiveOptions live;
  CountersOptions counters;
  auto* const replayCommand = app.add_subcommand("replay", "Play a recorded stream of changes and show the interfaces");
  auto* const liveCommand = app.add_subcommand("live", "Show, follow and guard this machine's own interfaces");
  auto* const countersCommand =
      app.add_subcommand("counters", "Show the counter blocks that hosts keep in shared memory");
  DiffOptions diff;
  auto* const diffCommand = app.add_subcommand("diff", "Show what two states differ in, path by path");
  addReplay(*replayCommand, replay);
  addLive(*liveCommand, live);
  addCounters(*countersCommand, counters);
  addDiff(*diffCommand, diff);

  try {
    app.parse(argc, argv);
  } catch (CLI::ParseError const& error) {
    return runGuarded([&] { return answer(app, error); });
  }
  if (live.isEnforcing && !live.goesOn()) {
    return refuse("--enforce needs --follow or --duration: what is held is released at the end");
  }
  if (liveCommand->count("--interval") != 0 && !live.goesOn()) {
    return refuse("--interval needs --follow or --duration: without them the statistics are taken once");
  }
  CommonOptions const& device = replayCommand->parsed() ? static_cast<CommonOptions const&>(replay) : live;
  if (device.isStateOutput() && (device.isFollowing || device.isJson)) {
    return refuse("--state - needs standard output for itself, without --follow and --json");
  }
  return runGuarded([&] {
    if (replayCommand->parsed()) {
      return runCommand<ReplayCommand>(replay);
    }
    if (liveCommand->parsed()) {
      return runCommand<LiveCommand>(live);
    }
    return countersCommand->parsed() ? runCommand<CountersCommand>(counters) : runCommand<DiffCommand>(diff);
  });
}

}  // namespace VaroHost
