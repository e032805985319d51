#include "faults/Disturbed.h"

#include <new>

#include "Zon/Exception.h"
#include "Zon/Trace.h"

namespace Faults {

namespace {

/// Empty, or what a call let out that it must not.
template <class Call>
std::string refusal(Call const& call) {
  try {
    call();
  } catch (std::bad_alloc const&) {
  } catch (Zon::Exception const&) {
  } catch (std::exception const& exception) {
    return std::string("an exception of another kind came out: ") + exception.what();
  } catch (...) {
    return "something that is no exception came out";
  }
  return {};
}

/// What an entity shows that no module has seen yet.
std::string valueAtBirth(std::string const& what) {
  if (what.ends_with(" state")) return "unset";
  return what.ends_with(" forwarding") ? "0" : "";
}

/// The facts that are neither as before nor as after.
std::string neither(Facts const& before, Facts const& after, Facts const& found) {
  auto const valueIn = [](Facts const& facts, std::string const& what) {
    auto const at = facts.find(what);
    return at == facts.end() ? std::string("-") : at->second;
  };
  std::string text;
  Facts all = found;
  for (Facts const* const facts : {&before, &after})
    all.insert(facts->begin(), facts->end());
  for (auto const& entry : all) {
    std::string const& what = entry.first;
    std::string const value = valueIn(found, what);
    std::string const old = valueIn(before, what);
    std::string const wanted = valueIn(after, what);
    bool const isNew = old == "-" && value == valueAtBirth(what);
    if (value != old && value != wanted && !isNew) {
      text += what + ": " + value + ", neither " + old + " nor " + wanted + "\n";
    }
  }
  return text;
}

}  // namespace

Disturbed::Disturbed(Scenario const& scenario) : scenario_(scenario) {
  // Made when the first exception of a watcher is told, for good.
  Zon::TraceHandle const facility("Zon", false);
  World world(scenario.activity);
  for (auto const& step : scenario.before)
    step.act(world);
  seen_.push_back(world.facts());
  for (auto const& step : scenario.steps) {
    step.act(world);
    seen_.push_back(world.facts());
  }
  references_ = world.references();
}

std::string Disturbed::run(std::size_t nth, FailingAllocations::Which which, std::size_t& failures) const {
  std::size_t const liveBefore = liveAllocations();
  std::string problem = runSteps(nth, which, failures);
  if (problem.empty() && liveAllocations() != liveBefore) {
    problem = std::to_string(liveAllocations() - liveBefore) + " allocations were not given back";
  }
  if (problem.empty()) return problem;
  return scenario_.name + ", allocation " + std::to_string(nth) +
         (which == FailingAllocations::Which::thatOne ? "" : " and all later ones") + ": " + problem;
}

std::string Disturbed::runSteps(std::size_t nth, FailingAllocations::Which which, std::size_t& failures) const {
  World world(scenario_.activity);
  for (auto const& step : scenario_.before)
    step.act(world);
  failures = 0;
  std::size_t left = nth;
  for (std::size_t at = 0; at != scenario_.steps.size(); ++at) {
    Step const& step = scenario_.steps[at];
    FailingAllocations faults(failures == 0 ? left : 0, which);
    std::string problem = refusal([&] { step.act(world); });
    faults.end();
    if (faults.failures() != 0) {
      failures = faults.failures();
      if (problem.empty()) problem = neither(seen_[at], seen_[at + 1], world.facts());
      if (problem.empty()) problem = repeat(world, at);
    }
    if (!problem.empty()) return "at \"" + step.name + "\": " + problem;
    left -= faults.asked();
  }
  if (failures == 0) return {};
  std::string const changed = difference(seen_.back(), world.facts()) + difference(references_, world.references());
  return changed.empty() ? changed : "at the end:\n" + changed;
}

std::string Disturbed::repeat(World& world, std::size_t step) const {
  try {
    scenario_.steps[step].act(world);
    world.sweep();
  } catch (std::exception const& exception) {
    return std::string("repeated, it threw: ") + exception.what();
  }
  std::string const missing = difference(seen_[step + 1], world.facts());
  return missing.empty() ? missing : "repeated, it made something else:\n" + missing;
}

}  // namespace Faults
