#include "model/Source.h"

#include <algorithm>
#include <array>

#include "model/Vocabulary.h"

namespace Model {

Source::Source(std::uint64_t seed) : generator_(seed) {
  constexpr int lengths[] = {30, 100, 250, 500};
  left_ = oneOf(lengths);
  usualActivity_ = draw(activityCount);
  constexpr int habits[] = {3, 6, 8, 9};
  habit_ = oneOf(habits);

  // Most themes at their usual weight, some stressed, some left alone: faults of one module need depth, not breadth.
  constexpr double factors[] = {0, 0.2, 1, 1, 1, 5};
  std::array<double, themes> factor{};
  for (double& f : factor)
    f = oneOf(factors);
  std::vector<double> weights(kindCount);
  for (std::size_t i = 0; i != kindCount; ++i)
    weights[i] = weightOf(static_cast<Kind>(i)) * factor[static_cast<std::size_t>(themeOf(static_cast<Kind>(i)))];
  // Entries come and go in every sequence. A host may dispatch after every change, or leave bursts behind.
  weights[static_cast<std::size_t>(Kind::directorySet)] += 1;
  constexpr double dispatches[] = {0.2, 5, 60};
  weights[static_cast<std::size_t>(Kind::dispatch)] = usualActivity_ < firstDeferring ? 0.5 : oneOf(dispatches);
  kinds_ = std::discrete_distribution<int>(weights.begin(), weights.end());

  if (draw(8) != 0) begin();
}

void Source::begin() {
  int const a = usualActivity_;
  beginning_ = {{Kind::mirrorIs, {0, a, 0, 0}},
                {Kind::statusesIs, {0, a, 0}},
                {Kind::machineIs, {0, a, 0, 0, 0}},
                {Kind::discoveryIs, {0, a, 0, 0}}};
  for (int interface = 0; interface != interfaceCount; ++interface) {
    for (int const half : {configHalf, statusHalf})
      if (draw(2) == 0) beginning_.push_back({Kind::directorySet, {half, firstAgentDirectory, interface, 0}});
    if (draw(2) == 0) beginning_.push_back({Kind::statusActive, {interface, 0, 1}});
    if (draw(2) == 0) beginning_.push_back({Kind::sliceSet, {draw(sliceCount), 0, interface, 0}});
  }
  for (int slice = 0; slice != sliceCount; ++slice)
    if (draw(2) == 0) beginning_.push_back({Kind::slicesSet, {0, slice, 0}});
  std::ranges::shuffle(beginning_, generator_);
}

int Source::drawArgument(Operation const& operation, std::size_t index) {
  // Few interfaces meet more often than many.
  if (operation.limit(index) == interfaceCount && draw(3) != 0) return draw(2);
  bool const isActivity = operation.isActivity(index);
  if (draw(10) < habit_) return isActivity ? usualActivity_ : operation.usual(index);
  return draw(operation.limit(index));
}

std::optional<Operation> Source::next() {
  if (left_ == 0) return std::nullopt;
  --left_;
  if (!beginning_.empty() && draw(4) != 0) {
    Operation const operation = beginning_.back();
    beginning_.pop_back();
    return operation;
  }
  Operation operation;
  operation.kind = static_cast<Kind>(kinds_(generator_));
  for (std::size_t i = 0; i != operation.arguments(); ++i)
    operation.argument[i] = drawArgument(operation, i);
  return operation;
}

}  // namespace Model
