// The closing summary of the text log: how many actions ran, failed and had
// their failure ignored, which ones logged errors and still succeeded (some
// actions do that on purpose, say a recursive copy that logs what it could
// not copy in a subdirectory), and where the time went.
//
// Times are each action's own, without the children it ran, summed over all
// its runs (a loop's child counts once with the total of its passes), so
// that a container does not hide the action that is slow inside it.
#pragma once

#include <chrono>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace brivant::host {

class BuildSummary {
 public:
  using Clock = std::chrono::steady_clock;

  // `place` is "file:line" or empty; it tells apart actions of one title.
  void ActionStarted(std::string_view title, std::string_view place, Clock::time_point now);
  void ErrorLogged();
  void ActionEnded(bool success, bool failure_ignored, Clock::time_point now);

  bool IsEmpty() const { return runs_ == 0; }
  // The summary, one line per element, without line breaks.
  std::vector<std::string> Lines() const;

 private:
  struct Action {
    std::string name;  // the title, with its place in brackets when known
    Clock::duration own_time{};
    int runs = 0;
    bool logged_errors_and_succeeded = false;
  };
  struct Open {
    size_t action;
    Clock::time_point start;
    Clock::duration children_time{};
    bool logged_errors = false;
  };

  std::vector<Action> actions_;          // in the order they first ran
  std::map<std::string, size_t> index_;  // place and title -> actions_
  std::string key_;                      // reused, so a lookup costs no allocation
  std::vector<Open> open_;
  int runs_ = 0;
  int failed_ = 0;
  int ignored_ = 0;
};

}  // namespace brivant::host
