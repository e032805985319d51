// Random host operations through the library and the reference model, compared after each.
//
// Environment:
//   VARO_MODEL_SEED=N       one more sequence, of that seed
//   VARO_MODEL_REPLAY=FILE  that sequence instead of random ones, as a failure prints it
//   VARO_MODEL_MINUTES=N    fresh seeds for that long instead of the fixed ones

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iostream>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "model/Driver.h"
#include "model/LibraryWorld.h"
#include "model/Source.h"

namespace {

using namespace Model;

constexpr std::uint64_t fixedSequences = 250;

char const* environment(char const* name) { return std::getenv(name); }

/// What a failure printed: the operations after the line "sequence:" up to the first empty line, or all lines without
/// such a line.
std::vector<Operation> read(std::string const& path) {
  std::ifstream file(path);
  EXPECT_TRUE(file) << path;
  std::vector<std::string> lines;
  for (std::string line; std::getline(file, line);) {
    lines.push_back(line);
    if (line == "sequence:") lines.clear();
  }
  std::vector<Operation> operations;
  for (std::string const& line : lines) {
    if (line.empty()) break;
    auto const operation = Operation::parse(line);
    EXPECT_TRUE(operation) << path << ": no operation: " << line;
    if (operation) operations.push_back(*operation);
  }
  EXPECT_FALSE(operations.empty()) << path << ": no operations";
  return operations;
}

/// Seeds from `first` while `goesOn`; a failure is printed with seed and sequence.
void expectNoDifference(std::uint64_t first, std::function<bool(std::uint64_t)> const& goesOn) {
  Driver driver(LibraryWorld::walkOrders());
  auto const failure = driver.search(first, goesOn);
  std::cout << "operations compared: " << driver.operations() << ", sequences: " << driver.sequences()
            << ", seeds from " << first << std::endl;
  EXPECT_FALSE(failure) << failure->text();
}

TEST(RandomOperations, LibraryDoesWhatTheModelPredicts) {
  if (char const* const path = environment("VARO_MODEL_REPLAY")) {
    auto const difference = Driver(LibraryWorld::walkOrders()).replay(read(path));
    EXPECT_FALSE(difference) << *difference;
    return;
  }
  if (char const* const minutes = environment("VARO_MODEL_MINUTES")) {
    auto const end =
        std::chrono::steady_clock::now() + std::chrono::duration_cast<std::chrono::steady_clock::duration>(
                                               std::chrono::duration<double, std::ratio<60>>(std::stod(minutes)));
    std::random_device entropy;
    std::uint64_t const first = (static_cast<std::uint64_t>(entropy()) << 20U) + 1000000;
    expectNoDifference(first, [end](std::uint64_t) { return std::chrono::steady_clock::now() < end; });
    return;
  }
  expectNoDifference(1, [](std::uint64_t sequences) { return sequences < fixedSequences; });
  if (char const* const seed = environment("VARO_MODEL_SEED"))
    expectNoDifference(std::stoull(seed), [](std::uint64_t sequences) { return sequences < 1; });
}

// A kind that is never drawn, or always impossible, would be compared by nobody.
TEST(RandomOperations, TheFixedSequencesApplyEveryKindOfOperation) {
  std::array<unsigned, kindCount> applied{};
  for (std::uint64_t seed = 1; seed <= fixedSequences; ++seed) {
    ReferenceModel model(LibraryWorld::walkOrders());
    Source source(seed);
    for (int step = 0; auto const operation = source.next(); ++step) {
      ReferenceModel trial = model;
      if (trial.apply(*operation, step) == Outcome::impossible) continue;
      model = std::move(trial);
      ++applied[static_cast<std::size_t>(operation->kind)];
    }
  }
  for (std::size_t kind = 0; kind != kindCount; ++kind)
    EXPECT_GT(applied[kind], 0U) << (Operation{static_cast<Kind>(kind), {}}.text());
}

TEST(RandomOperations, EveryOperationReadsBackFromItsText) {
  for (std::uint64_t seed = 1; seed != 50; ++seed) {
    Source source(seed);
    while (auto const operation = source.next())
      EXPECT_EQ(Operation::parse(operation->text()), operation) << operation->text();
  }
  for (char const* const line :
       {"", "seed 7", "config.admin", "config.admin interface=0 version=0",
        "config.admin interface=9 version=0 state=0", "config.admin interface=0 version=0 state=0 more=0",
        "config.admin version=0 interface=0 state=0"})
    EXPECT_FALSE(Operation::parse(line)) << line;
}

// The comparison itself is tested with a model that was told a wrong order of walks: the first directory with two entries
// shows it.
TEST(RandomOperations, ADifferenceIsFoundAndShrunk) {
  WalkOrders wrong = LibraryWorld::walkOrders();
  std::ranges::reverse(wrong.interfaces);
  Driver driver(wrong);
  auto const failure = driver.search(1, [](std::uint64_t sequences) { return sequences < 20; });
  ASSERT_TRUE(failure);
  EXPECT_EQ(failure->operations.size(), 2U) << failure->text();
  EXPECT_TRUE(driver.replay(failure->operations));
  EXPECT_FALSE(Driver(LibraryWorld::walkOrders()).replay(failure->operations));
}

}  // namespace
