// Watching processes from tests: whether one still runs, and waiting for a
// condition with a generous limit instead of timing assertions.
#pragma once

#include <chrono>
#include <fstream>
#include <functional>
#include <string>
#include <thread>

namespace brivant::testing {

// Whether `pid` is a live process. A zombie counts as gone: it runs no more,
// and an orphan's zombie waits on a reaper that is not ours.
inline bool IsRunning(long pid) {
  std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
  std::string text;
  if (!std::getline(stat, text)) return false;
  size_t name_end = text.rfind(')');
  return name_end != std::string::npos && name_end + 2 < text.size() && text[name_end + 2] != 'Z';
}

// Polls `done` for up to ten seconds; true once it held.
inline bool WaitUntil(const std::function<bool()>& done) {
  auto give_up = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (!done()) {
    if (std::chrono::steady_clock::now() > give_up) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return true;
}

}  // namespace brivant::testing
