#include <algorithm>
#include <filesystem>
#include <string>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <unistd.h>

#include "HostProcess.h"

namespace {

constexpr char add[] =
    R"({"time":0,"entity":"intfConfig","key":"E1","op":"add","attribute":"adminEnabledStateLocal","value":"enabled"})"
    "\n";
constexpr char errdisable[] = R"({"time":1,"entity":"errdisabledIntf","key":"E1","value":"bpduguard"})"
                              "\n";
constexpr char recover[] = R"({"time":2,"entity":"errdisabledIntf","key":"E1","op":"del"})"
                           "\n";

std::string lines(std::initializer_list<std::string_view> parts) {
  std::string text;
  for (auto const part : parts) {
    text += part;
  }
  return text;
}

std::string config(std::string const& name, std::string const& rest = "") {
  return R"({"time":0,"entity":"intfConfig","key":)" + nlohmann::json(name).dump() + rest + "}\n";
}
std::string addConfig(std::string const& name) {
  return config(name, R"(,"op":"add","attribute":"adminEnabledStateLocal","value":"enabled")");
}

HostResult replay(std::string const& input, std::vector<std::string> options = {}) {
  options.insert(options.begin(), {"replay", "-"});
  return runHost(std::move(options), input);
}

}  // namespace

TEST(Replay, TheBundledLineCardGivesExactlyItsTable) {
  auto const result = runHost({"replay", VARO_EXAMPLES_DIR "/line-card.jsonl"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.out, readFile(VARO_SOURCE_DIR "/tests/host/data/line-card.table"));
}

TEST(Replay, TheBundledLineCardGivesExactlyItsChanges) {
  auto const result = runHost({"replay", "--follow", VARO_EXAMPLES_DIR "/line-card.jsonl"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.out, readFile(VARO_SOURCE_DIR "/tests/host/data/line-card.follow") + "\n" +
                            readFile(VARO_SOURCE_DIR "/tests/host/data/line-card.table"));
}

TEST(Replay, TheBundledLineCardIsWhatItsGeneratorWrites) {
  std::vector<std::string> const generator = {VARO_EXAMPLES_DIR "/make-line-card"};
  HostProcess process({}, "", false, generator);
  EXPECT_EQ(process.finish(), 0);
  EXPECT_EQ(process.out(), readFile(VARO_EXAMPLES_DIR "/line-card.jsonl"));
}

TEST(Replay, JsonUsesTheNamesOfTheInterfaceModel) {
  auto const result = replay(lines({add, errdisable}), {"--json"});
  EXPECT_EQ(result.status, 0);
  auto const expected = nlohmann::json::parse(R"({"ietf-interfaces:interfaces": {"interface": [{
      "name": "E1", "enabled": true, "varo:admin-enabled-state": "enabled", "varo:enabled-state": "disabled",
      "varo:enabled-state-reason": "bpduguard", "varo:errdisabled-reason": "bpduguard"}]}})");
  EXPECT_EQ(nlohmann::json::parse(result.out), expected);
}

TEST(Replay, JsonOfTheBundledLineCardHasEveryInterface) {
  auto const result = runHost({"replay", "--json", VARO_EXAMPLES_DIR "/line-card.jsonl"});
  auto const interfaces = nlohmann::json::parse(result.out)["ietf-interfaces:interfaces"]["interface"];
  ASSERT_EQ(interfaces.size(), 52U);
  EXPECT_EQ(interfaces[5]["name"], "Ethernet3/6");
  EXPECT_EQ(interfaces[5]["varo:enabled-state-reason"], "link-flap");
  EXPECT_EQ(interfaces[46]["varo:default-config"], "spare");
}

TEST(Replay, FollowInJsonGivesOneDocumentALine) {
  auto const result = replay(lines({add, errdisable}), {"--json", "--follow"});
  std::size_t const end = result.out.find('\n');
  auto const change = nlohmann::json::parse(result.out.substr(0, end))["varo:change"];
  EXPECT_EQ(change["name"], "E1");
  EXPECT_EQ(change["varo:enabled-state"], "enabled");
  EXPECT_EQ(change["was"]["varo:enabled-state"], "unset");
}

TEST(Replay, TraceLinesGoToStandardError) {
  auto const result = replay(lines({add}), {"--trace", "Errdisable=7"});
  EXPECT_EQ(result.err,
            "Errdisable/7 VaroErrdisableIntf:69 handleIntf: "
            "void VaroErrdisable::AllIntfSM::handleIntf(Orvet::IntfId)E1\n"
            "Errdisable/7 VaroErrdisableIntf:21 handleStateChange: "
            "void VaroErrdisable::IntfSM::handleStateChange()E1: adminEnabled=enabled enabledStateLocal=unset "
            "intfStatus=None active=0\n");
}

TEST(Replay, AnEmptyRecordingGivesAnEmptyTable) {
  auto const result = replay("");
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, "Interface  Admin  Active  State  Reason\n\n0 interfaces: 0 enabled, 0 disabled\n");
}

TEST(Replay, TheFirstBadLineEndsTheReplay) {
  auto const result = replay(lines({add, "oops\n", errdisable}));
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, "");
  EXPECT_TRUE(result.err.starts_with("<stdin>:2:1: ")) << result.err;
}

TEST(Replay, KeepGoingReportsAndContinues) {
  auto const result = replay(lines({add, "oops\n", "{\"time\":1\n", errdisable}), {"--keep-going"});
  EXPECT_EQ(result.status, 1);
  EXPECT_NE(result.out.find("disabled  bpduguard"), std::string::npos) << result.out;
  EXPECT_NE(result.err.find("<stdin>:2:1: "), std::string::npos) << result.err;
  EXPECT_NE(result.err.find("<stdin>:3:"), std::string::npos) << result.err;
}

TEST(Replay, WhatIsNoJsonIsExplainedAtItsPlace) {
  auto const result =
      replay(lines({"oops\n", "{\"time\":1\n", "{\"time\":0,}\n", "{\"time\":0} x\n"}), {"--keep-going"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "<stdin>:1:1: expected a value, found \"o\"\n"
                        "<stdin>:2:10: expected \",\" or \"}\", found the end\n"
                        "<stdin>:3:11: expected a string, found \"}\"\n"
                        "<stdin>:4:12: expected nothing more, found \"x\"\n");
}

TEST(Replay, ErrorsNameTheFile) {
  ScratchDirectory const scratch;
  std::string const file = scratch.write("bad.jsonl", "\n{\"time\":0,\"entity\":\"x\"}\n");
  auto const result = runHost({"replay", file});
  EXPECT_EQ(result.err, file + ":2:20: unknown entity \"x\"\n");
  EXPECT_EQ(result.status, 1);
}

TEST(Replay, TimeNeverGoesBack) {
  auto const result = replay(lines({add, recover}), {"--keep-going"});
  EXPECT_EQ(result.err, "<stdin>:2:44: errdisabledIntf of \"E1\" is not there\n");
  auto const backwards = replay(lines({errdisable, add, recover}), {"--keep-going"});
  EXPECT_EQ(backwards.err, "<stdin>:2:9: \"time\" goes back from 1 to 0\n");
}

TEST(Replay, TheTimeOfALineThatFailedDoesNotCount) {
  std::string const late = R"({"time":100,"entity":"intfConfig","key":"none","op":"del"})"
                           "\n";
  auto const result = replay(lines({late, add}), {"--keep-going"});
  EXPECT_EQ(result.err, "<stdin>:1:41: intfConfig of \"none\" is not there\n");
  EXPECT_NE(result.out.find("1 interface: 1 enabled"), std::string::npos) << result.out;
}

TEST(Replay, NothingOfALineThatFailsIsApplied) {
  std::string const input =
      addConfig("E1") + config("E1", R"(,"op":"replace","attribute":"defaultConfig","value":"x")") +
      config("E2", R"(,"op":"add","attribute":"defaultConfig","value":"x")") + config("E1", R"(,"op":"add")");
  auto const result = replay(input, {"--keep-going", "--follow"});
  EXPECT_EQ(result.err, "<stdin>:2:95: default configuration \"x\" is not there\n"
                        "<stdin>:3:91: default configuration \"x\" is not there\n"
                        "<stdin>:4:39: intfConfig of \"E1\" is there already\n");
  EXPECT_EQ(result.out, "     0.000  E1: unset -> enabled\n"
                        "\n"
                        "Interface  Admin    Active  State    Reason\n"
                        "E1         enabled  -       enabled  -\n"
                        "\n"
                        "1 interface: 1 enabled, 0 disabled\n");
}

TEST(Replay, AReplacedStatusOrConfigurationIsServed) {
  std::string const input =
      addConfig("E1") +
      R"({"time":0,"entity":"intfStatus","key":"E1","op":"add"})"
      "\n"
      R"({"time":1,"entity":"intfStatus","key":"E1","op":"replace","attribute":"active","value":true})"
      "\n"
      R"({"time":2,"entity":"intfConfig","key":"E1","op":"replace"})"
      "\n"
      R"({"time":3,"entity":"intfConfig","key":"E1","attribute":"adminEnabledStateLocal","value":"disabled"})"
      "\n";
  auto const result = replay(input, {"--follow"});
  EXPECT_EQ(result.out.substr(0, result.out.find("\n\n")), "     0.000  E1: unset -> enabled\n"
                                                           "     0.000  E1: enabled -> disabled (inactive)\n"
                                                           "     1.000  E1: disabled (inactive) -> enabled\n"
                                                           "     3.000  E1: unset -> disabled (admin)");
}

TEST(Replay, AChangedDefaultReachesWhoeverUsesIt) {
  std::string const input =
      R"({"time":0,"entity":"defaultConfig","key":"spare","op":"add","attribute":"adminEnabledStateLocal","value":"enabled"})"
      "\n" +
      config("E1", R"(,"op":"add","attribute":"defaultConfig","value":"spare")") + addConfig("E2") +
      R"({"time":1,"entity":"defaultConfig","key":"spare","attribute":"adminEnabledStateLocal","value":"disabled"})"
      "\n"
      R"({"time":2,"entity":"defaultConfig","key":"spare","op":"del"})"
      "\n"
      R"({"time":3,"entity":"intfConfig","key":"E1","attribute":"defaultConfig","value":null})"
      "\n"
      R"({"time":4,"entity":"defaultConfig","key":"spare","op":"del"})"
      "\n";
  auto const result = replay(input, {"--follow", "--keep-going"});
  EXPECT_EQ(result.err, "<stdin>:5:42: default configuration \"spare\" is in use, by \"E1\" for one\n");
  EXPECT_EQ(result.out.substr(0, result.out.find("\n\n")), "     0.000  E1: unset -> enabled\n"
                                                           "     0.000  E2: unset -> enabled\n"
                                                           "     1.000  E1: enabled -> disabled (admin)\n"
                                                           "     3.000  E1: disabled (admin) -> enabled");
}

TEST(Replay, AnyNameHasItsLine) {
  std::string const longest(255, 'x');
  auto const result = replay(addConfig("a b") + addConfig("3/1/2") + addConfig("gr\xc3\xbcn") +
                                 addConfig(std::string("z\0\x1b", 3)) + addConfig(longest),
                             {"--json"});
  EXPECT_EQ(result.status, 0) << result.err;
  auto const interfaces = nlohmann::json::parse(result.out)["ietf-interfaces:interfaces"]["interface"];
  ASSERT_EQ(interfaces.size(), 5U);
  EXPECT_EQ(interfaces[0]["name"], "3/1/2");
  EXPECT_EQ(interfaces[1]["name"], "a b");
  EXPECT_EQ(interfaces[2]["name"], "gr\xc3\xbcn");
  EXPECT_EQ(interfaces[3]["name"], longest);
  EXPECT_EQ(interfaces[4]["name"], std::string("z\0\x1b", 3));
}

TEST(Replay, TheTableIsAlignedByWhatIsSeen) {
  auto const result = replay(addConfig("gr\xc3\xbcn1") + addConfig("x\x1b[31m"));
  EXPECT_EQ(result.out, "Interface  Admin    Active  State    Reason\n"
                        "gr\xc3\xbcn1      enabled  -       enabled  -\n"
                        "x\\x1b[31m  enabled  -       enabled  -\n"
                        "\n"
                        "2 interfaces: 2 enabled, 0 disabled\n");
}

TEST(Replay, ColourIsWrittenOnlyWhenAskedFor) {
  EXPECT_EQ(replay(add).out.find('\x1b'), std::string::npos);
  EXPECT_EQ(replay(add, {"--color=never"}).out.find('\x1b'), std::string::npos);
  EXPECT_NE(replay(add, {"--color=always"}).out.find("\x1b[32menabled\x1b[0m"), std::string::npos);
}

TEST(Replay, PaceKeepsOrderAndResult) {
  std::string const input = lines({add,
                                   R"({"time":0.05,"entity":"errdisabledIntf","key":"E1","value":"udld"})"
                                   "\n",
                                   R"({"time":0.1,"entity":"errdisabledIntf","key":"E1","op":"del"})"
                                   "\n"});
  auto const result = replay(input, {"--pace", "--follow"});
  EXPECT_EQ(result.out.substr(0, result.out.find("\n\n")), "     0.000  E1: unset -> enabled\n"
                                                           "     0.050  E1: enabled -> disabled (udld)\n"
                                                           "     0.100  E1: disabled (udld) -> enabled");
}

TEST(Replay, APipeIsFollowedLineByLine) {
  HostProcess process({"replay", "-", "--follow"}, add, true);
  EXPECT_TRUE(process.waitFor("E1: unset -> enabled\n"));
  process.write(std::string_view(errdisable).substr(0, 20));
  process.write(std::string_view(errdisable).substr(20));
  EXPECT_TRUE(process.waitFor("E1: enabled -> disabled (bpduguard)\n"));
  process.closeInput();
  EXPECT_EQ(process.finish(), 0);
}

TEST(Replay, ASignalEndsItWithTheTable) {
  HostProcess process({"replay", "-", "--follow"}, add, true);
  EXPECT_TRUE(process.waitFor("E1: unset -> enabled\n"));
  process.signal(SIGINT);
  EXPECT_EQ(process.finish(), 1);
  EXPECT_NE(process.out().find("1 interface: 1 enabled"), std::string::npos);
  EXPECT_EQ(process.err(), "<stdin>:1: interrupted\n");
}

TEST(Replay, AReaderThatGoesEndsItQuietly) {
  HostProcess process({"replay", "-", "--follow"}, add, true);
  EXPECT_TRUE(process.waitFor("E1: unset -> enabled\n"));
  process.closeOutput();
  process.write(errdisable);
  process.write(recover);
  process.closeInput();
  EXPECT_EQ(process.finish(), 0);
  EXPECT_EQ(process.err(), "");
}

TEST(Replay, AReaderThatGoesEndsItWhileInputStaysOpen) {
  HostProcess process({"replay", "-", "--follow"}, add, true);
  EXPECT_TRUE(process.waitFor("E1: unset -> enabled\n"));
  process.closeOutput();
  process.write(errdisable);
  EXPECT_EQ(process.finish(), 0);
  EXPECT_EQ(process.err(), "");
}

TEST(Replay, AReaderThatGoesEndsItWhileTheNextLineIsFarOff) {
  HostProcess process({"replay", "-", "--follow", "--pace"}, add, true);
  EXPECT_TRUE(process.waitFor("E1: unset -> enabled\n"));
  process.closeOutput();
  process.write(R"({"time":0,"entity":"errdisabledIntf","key":"E1","value":"udld"})"
                "\n"
                R"({"time":1e9,"entity":"errdisabledIntf","key":"E1","op":"del"})"
                "\n");
  EXPECT_EQ(process.finish(), 0);
  EXPECT_EQ(process.err(), "");
}

TEST(Replay, AStandardErrorThatCannotBeWrittenToStopsNothing) {
  for (std::string const redirection : {"2>/dev/full", "2>&-"}) {
    auto const result = runRedirected(redirection, {"replay", "-", "--keep-going"}, lines({add, "oops\n", errdisable}));
    EXPECT_EQ(result.status, 1) << redirection;
    EXPECT_NE(result.out.find("disabled  bpduguard"), std::string::npos) << redirection << result.out;
    EXPECT_EQ(runRedirected(redirection, {"replay", "/nonexistent/file"}).status, 2) << redirection;
  }
}

TEST(Replay, AStandardOutputThatCannotBeWrittenToIsTrouble) {
  std::string const file = VARO_EXAMPLES_DIR "/line-card.jsonl";
  auto const full = runRedirected(">/dev/full", {"replay", file});
  EXPECT_EQ(full.status, 2);
  EXPECT_EQ(full.err, "varo-host: standard output: No space left on device\n");
  auto const closed = runRedirected(">&-", {"replay", file});
  EXPECT_EQ(closed.status, 2);
  EXPECT_EQ(closed.err, "varo-host: standard output: Bad file descriptor\n");
}

TEST(Replay, WhatCannotBeReadIsTrouble) {
  EXPECT_EQ(runHost({"replay", "/nonexistent/file"}).status, 2);
  std::string const directory = std::filesystem::temp_directory_path().string();
  EXPECT_EQ(runHost({"replay", directory}).err, "varo-host: " + directory + ": Is a directory\n");
  EXPECT_EQ(runHost({"replay", directory}).status, 2);
  EXPECT_EQ(runHost({"replay", "/dev/null"}).status, 0);
}

TEST(Replay, WrongUsageIsTrouble) {
  EXPECT_EQ(runHost({}).status, 2);
  EXPECT_EQ(runHost({"replay"}).status, 2);
  EXPECT_EQ(runHost({"replay", "-", "--nonsense"}).status, 2);
  EXPECT_EQ(runHost({"replay", "-", "--color=red"}).status, 2);
  EXPECT_EQ(runHost({"replay", "-", "--color=1"}).status, 2);
  EXPECT_EQ(runHost({"live", "--duration", "nan"}).status, 2);
  EXPECT_EQ(runHost({"live", "--duration", "-1"}).status, 2);
  EXPECT_EQ(runHost({"replay", "-", "--trace", "Errdisable"}).status, 2);
  EXPECT_EQ(runHost({"replay", "-", "--trace", "Errdisable=32"}).status, 2);
  EXPECT_EQ(runHost({"replay", "-", "--plugin", "/nonexistent.so"}).status, 2);
  EXPECT_EQ(runHost({"live", "--enforce"}).status, 2);
  EXPECT_EQ(runHost({"live", "--leave-down"}).status, 2);
  EXPECT_EQ(runHost({"--help"}).status, 0);
  EXPECT_EQ(runHost({"--version"}).status, 0);
}

TEST(Replay, WhatIsWrongWithTheCommandLineIsSaidByTheProgramsName) {
  auto const said = [](std::vector<std::string> arguments) {
    auto const result = runHost(std::move(arguments));
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_TRUE(result.err.starts_with("varo-host: ")) << result.err;
    EXPECT_TRUE(result.err.ends_with("\nRun with --help for more information.\n")) << result.err;
    return result.err.substr(11, result.err.find('\n') - 11);
  };
  EXPECT_EQ(said({"replay", "-", "--nonsense"}), "The following argument was not expected: --nonsense");
  EXPECT_EQ(said({"replay"}), "FILE is required");
  for (std::string const option : {"--counters", "--state", "--plugin"}) {
    EXPECT_EQ(said({"replay", "-", option, ""}), option + ": must not be empty");
  }
  EXPECT_EQ(said({"live", "--errdisable", ""}), "--errdisable: must not be empty");
  EXPECT_EQ(said({"live", "--interval", "1"}),
            "--interval needs --follow or --duration: without them the statistics are taken once");
  EXPECT_EQ(said({"live", "--enforce"}), "--enforce needs --follow or --duration: what is held is released at the end");
}

TEST(Replay, AWordThatIsNoCommandIsNamed) {
  for (std::string const word : {"bogus", "--bogus"}) {
    auto const result = runHost({word});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_TRUE(result.err.starts_with("varo-host: expected a command, one of replay, live, counters, diff"))
        << result.err;
    EXPECT_NE(result.err.find("; not \"" + word + "\"\n"), std::string::npos) << result.err;
  }
  auto const missing = runHost({});
  EXPECT_EQ(missing.status, 2);
  EXPECT_TRUE(missing.err.starts_with("varo-host: expected a command, one of replay, live, counters, diff"))
      << missing.err;
  EXPECT_EQ(missing.err.find("not"), std::string::npos) << missing.err;
  EXPECT_EQ(runHost({"replay"}).err, "varo-host: FILE is required\nRun with --help for more information.\n");
}

TEST(Replay, AFacilityNobodyTracesToIsTrouble) {
  auto const result = replay(add, {"--trace", "Errdisable=7", "--trace", "Erdisable=7"});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "varo-host: --trace Erdisable=7: nothing traces to \"Erdisable\"; known are Errdisable, "
                        "RootPathBase::Zon, VaroIntf, Zon\n");
  for (std::string const facility : {"Errdisable", "RootPathBase::Zon", "VaroIntf", "Zon"}) {
    auto const known = replay("", {"--trace", facility + "=0"});
    EXPECT_EQ(known.status, 0) << facility << known.err;
  }
}

TEST(Replay, AnotherPluginCanBeNamed) {
  EXPECT_EQ(replay(add, {"--plugin", VARO_LIBVARO_FILE}).status, 0);
  auto const result = replay(add, {"--plugin", VARO_LIBZON_FILE});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err, "varo-host: the plug-in does not offer the type VaroIntf::Agent\n");
}

TEST(Replay, APluginInTheWorkingDirectoryNeedsNoSlash) {
  ScratchDirectory const scratch;
  ASSERT_EQ(::symlink(VARO_LIBVARO_FILE, scratch.file("here.so").c_str()), 0);
  HostProcess process({scratch.file(""), "replay", "-", "--plugin", "here.so"}, add, false,
                      {"/bin/sh", "-c", "cd \"$1\" && shift && exec \"$0\" \"$@\"", VARO_HOST_PROGRAM});
  EXPECT_EQ(process.finish(), 0) << process.err();
}

TEST(Replay, QueueCountersThatCannotBeAppliedAreReported) {
  auto const line = [](std::string const& rest) { return R"({"time":0,"entity":")" + rest + "}\n"; };
  std::string const input = line(R"(intfQueueCounterDir","key":["s","E1"],"op":"add")") +
                            line(R"(slice","key":"s","op":"add")") + line(R"(slice","key":"s","op":"add")") +
                            line(R"(intfQueueCounter","key":["s","E1","c"],"op":"add")") +
                            line(R"(intfQueueCounterDir","key":["s","E1"],"op":"add")") +
                            line(R"(intfQueueCounter","key":["s","E1","c"],"op":"add")") +
                            line(R"(intfQueueCounter","key":["s","E1","c"],"op":"add")") +
                            line(R"(intfQueueCounter","key":["s","E1","d"],"op":"del")") +
                            line(R"(intfQueueCounterDir","key":["s","E1"],"op":"replace")") +
                            line(R"(intfQueueCounter","key":["s","E1","c"],"op":"del")") +
                            line(R"(slice","key":"s","op":"replace")") + line(R"(slice","key":"s","op":"del")") +
                            line(R"(slice","key":"s","op":"replace")") + line(R"(slice","key":"s","op":"del")");
  auto const result = replay(input, {"--keep-going"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "<stdin>:1:48: slice of \"s\" is not there\n"
                        "<stdin>:3:34: slice of \"s\" is there already\n"
                        "<stdin>:4:45: intfQueueCounterDir of \"s\", \"E1\" is not there\n"
                        "<stdin>:7:45: intfQueueCounter of \"s\", \"E1\", \"c\" is there already\n"
                        "<stdin>:8:45: intfQueueCounter of \"s\", \"E1\", \"d\" is not there\n"
                        "<stdin>:10:45: intfQueueCounter of \"s\", \"E1\", \"c\" is not there\n"
                        "<stdin>:13:34: slice of \"s\" is not there\n"
                        "<stdin>:14:34: slice of \"s\" is not there\n");
}

TEST(Replay, ForwardingModelsStandInTableAndJson) {
  std::string const input =
      lines({add, R"({"time":0,"entity":"intfStatus","key":"E1","op":"add","attribute":"active","value":true})"
                  "\n"});
  std::string const asked = R"({"time":0,"entity":"forwardingModelInputs","key":["E1","stp"],"value":-7})"
                            "\n";
  EXPECT_EQ(replay(input).out.substr(0, 40), "Interface  Admin    Active  State    Rea");
  EXPECT_EQ(replay(input + asked).out, "Interface  Admin    Active  Model  State    Reason\n"
                                       "E1         enabled  yes     -7     enabled  -\n"
                                       "\n"
                                       "1 interface: 1 enabled, 0 disabled\n");
  auto const json = nlohmann::json::parse(replay(input + asked, {"--json"}).out);
  EXPECT_EQ(json["ietf-interfaces:interfaces"]["interface"][0]["varo:forwarding-model"], -7);
}

// Hostile input: an error at its place, status 1, and the lines around it keep working.

namespace {

void expectOneFault(std::string const& line, std::string const& fault) {
  auto const result = replay(lines({add, line, errdisable}), {"--keep-going"});
  EXPECT_EQ(result.status, 1);
  EXPECT_TRUE(result.err.starts_with("<stdin>:2:" + fault)) << result.err.substr(0, 300);
  EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err.substr(0, 300);
  EXPECT_NE(result.out.find("disabled  bpduguard"), std::string::npos) << result.out;
}

}  // namespace

TEST(ReplayHostile, Binary) {
  std::string bytes;
  for (int byte = 255; byte >= 0; --byte) {
    if (byte != '\n') {
      bytes += static_cast<char>(byte);
    }
  }
  expectOneFault(bytes + "\n", "1: ");
}

TEST(ReplayHostile, NulBytes) { expectOneFault(std::string(1000, '\0') + "\n", "1: "); }

TEST(ReplayHostile, Truncated) { expectOneFault(std::string(add).substr(0, 50) + "\n", "51: "); }

TEST(ReplayHostile, DeeplyNested) { expectOneFault(std::string(900000, '[') + "\n", "1: a line must be an object\n"); }

TEST(ReplayHostile, DuplicateKeys) {
  expectOneFault("{\"time\":0,\"time\":0}\n", "11: member \"time\" stands twice\n");
}

TEST(ReplayHostile, NumbersOutOfRange) {
  expectOneFault("{\"time\":1e999}\n", "9: the number 1e999 is too large\n");
  expectOneFault("{\"time\":-1}\n", "9: \"time\" is negative\n");
}

TEST(ReplayHostile, NamesOfAMebibyte) {
  std::string const name(1U << 20U, 'x');
  expectOneFault("{\"time\":0,\"entity\":\"intfConfig\",\"op\":\"add\",\"key\":\"" + name + "\"}\n",
                 "1: the line has more than 1048576 bytes\n");
  expectOneFault("{\"time\":0,\"entity\":\"intfConfig\",\"op\":\"add\",\"key\":\"" + name.substr(1000) + "\"}\n",
                 "50: the name of the interface has 1047576 bytes, at most 255 are allowed\n");
}

TEST(ReplayHostile, LinesFarBeyondTheLimit) {
  expectOneFault(std::string(20U << 20U, ' ') + "\n", "1: the line has more than 1048576 bytes\n");
}

TEST(ReplayHostile, InvalidUtf8) {
  expectOneFault("{\"time\":0,\"entity\":\"intfConfig\",\"op\":\"add\",\"key\":\"\xc3\x28\"}\n", "52: ");
}

TEST(ReplayHostile, ManyErrorsDoNotPileUp) {
  std::string input;
  for (int at = 0; at < 20000; ++at) {
    input += "x\n";
  }
  auto const result = replay(input, {"--keep-going"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 20000);
}

TEST(ReplayHostile, AForwardingModelBeyond32BitsIsRefused) {
  std::string const status = R"({"time":0,"entity":"intfStatus","key":"E1","op":"add"})"
                             "\n";
  auto const input = [](std::string const& value) {
    return R"({"time":0,"entity":"forwardingModelInputs","key":["E1","a"],"value":)" + value + "}\n";
  };
  for (std::string const value : {"2147483648", "-2147483649", "4294967298", "18446744073709551616", "1e400"}) {
    auto const result = replay(lines({status, input(value)}));
    EXPECT_EQ(result.status, 1) << value;
    EXPECT_TRUE(result.err.starts_with("<stdin>:2:69: ")) << result.err;
    EXPECT_EQ(result.out, "") << value;
  }
  for (std::string const value : {"2147483647", "-2147483648"}) {
    auto const result = replay(lines({status, input(value)}), {"--json"});
    EXPECT_EQ(result.status, 0) << result.err;
  }
}
