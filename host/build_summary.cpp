#include "host/build_summary.h"

#include <fmt/format.h>

#include <algorithm>
#include <numeric>

namespace brivant::host {
namespace {

constexpr size_t kSlowestShown = 5;
constexpr size_t kNamesShown = 10;

std::string Seconds(BuildSummary::Clock::duration time) {
  return fmt::format("{:.3f} s", std::chrono::duration<double>(time).count());
}

std::string Plural(int count, std::string_view one) {
  return fmt::format("{} {}{}", count, one, count == 1 ? "" : "s");
}

}  // namespace

void BuildSummary::ActionStarted(std::string_view title, std::string_view place,
                                 Clock::time_point now) {
  key_.assign(place);
  key_.push_back('\n');
  key_.append(title);
  auto [it, inserted] = index_.try_emplace(key_, actions_.size());
  if (inserted) {
    std::string name(title);
    if (!place.empty()) name += fmt::format(" ({})", place);
    actions_.push_back({std::move(name)});
  }
  open_.push_back({it->second, now});
  ++runs_;
}

void BuildSummary::ErrorLogged() {
  if (!open_.empty()) open_.back().logged_errors = true;
}

void BuildSummary::ActionEnded(bool success, bool failure_ignored, Clock::time_point now) {
  if (open_.empty()) return;
  Open ended = open_.back();
  open_.pop_back();
  Clock::duration elapsed = now - ended.start;
  Action& action = actions_[ended.action];
  action.own_time += elapsed - ended.children_time;
  ++action.runs;
  if (success && ended.logged_errors) action.logged_errors_and_succeeded = true;
  if (!open_.empty()) open_.back().children_time += elapsed;
  if (!success) ++(failure_ignored ? ignored_ : failed_);
}

std::vector<std::string> BuildSummary::Lines() const {
  std::vector<std::string> lines;
  lines.push_back(fmt::format("summary: {} run, {} failed, {} ignored", Plural(runs_, "action"),
                              failed_, Plural(ignored_, "failure")));
  std::vector<std::string_view> with_errors;
  for (const Action& action : actions_) {
    if (action.logged_errors_and_succeeded) with_errors.push_back(action.name);
  }
  if (!with_errors.empty()) {
    lines.emplace_back("succeeded but logged errors:");
    for (size_t i = 0; i < std::min(with_errors.size(), kNamesShown); ++i)
      lines.push_back(fmt::format("  {}", with_errors[i]));
    if (with_errors.size() > kNamesShown)
      lines.push_back(fmt::format("  and {} more", with_errors.size() - kNamesShown));
  }
  std::vector<size_t> order(actions_.size());
  std::iota(order.begin(), order.end(), size_t{0});
  size_t shown = std::min(order.size(), kSlowestShown);
  // Stable, so that equal times keep the order the actions first ran in.
  std::stable_sort(order.begin(), order.end(), [this](size_t a, size_t b) {
    return actions_[a].own_time > actions_[b].own_time;
  });
  lines.emplace_back("slowest:");
  for (size_t i = 0; i < shown; ++i) {
    const Action& action = actions_[order[i]];
    std::string line = fmt::format("  {:>9}  {}", Seconds(action.own_time), action.name);
    if (action.runs > 1) line += fmt::format(", {} runs", action.runs);
    lines.push_back(std::move(line));
  }
  return lines;
}

}  // namespace brivant::host
