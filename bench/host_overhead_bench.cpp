// What the host costs per action: a loop of 100,000 iterations whose one
// child does nothing, run through BuildRunner with the log written in full
// (JSON or text) to a stream that discards it. The time per child action is
// the host's overhead: events, exception guard, stop checks, the loop's
// GetNextActionSource round trip. The goal is well under 5 µs.
//
// The "with loop variable" cases also set the loop variable on each
// iteration, as every real loop does.
#include <benchmark/benchmark.h>

#include <ostream>
#include <streambuf>
#include <string>

#include "host/build_runner.h"
#include "host/json_log_sink.h"
#include "host/text_log_sink.h"
#include "package/base_iterator.h"

namespace brivant::host {
namespace {

constexpr int kIterations = 100000;

// Accepts and forgets everything, so formatting is measured and I/O is not.
class DiscardingBuffer : public std::streambuf {
 protected:
  int_type overflow(int_type c) override { return traits_type::not_eof(c); }
  std::streamsize xsputn(const char*, std::streamsize count) override { return count; }
};

class NothingAction : public TBVAction {
 public:
  std::string_view ClassName() const override { return "TNothingAction"; }
  std::string GetActionName() const override { return "Nothing"; }
  bool Execute() override { return true; }
};

class CountingLoop : public TBVBaseIterator {
 public:
  CountingLoop(int count, const std::string& variable) : count_(count) { SetBVVariable(variable); }
  std::string_view ClassName() const override { return "TCountingLoop"; }
  std::string GetActionName() const override { return "Counting Loop"; }
  std::string GetCurrentValue() override { return std::to_string(GetCurrentIteration()); }
  bool BeforeFirstIteration() override {
    SetIterationCount(count_);
    return true;
  }

 private:
  int count_;
};

Project LoopProject(const std::string& variable) {
  ActionNode child;
  child.title = "Do nothing";
  child.action = std::make_unique<NothingAction>();
  ActionNode loop;
  loop.title = "Loop";
  loop.action = std::make_unique<CountingLoop>(kIterations, variable);
  loop.children.push_back(std::move(child));
  Project project;
  project.actions.push_back(std::move(loop));
  return project;
}

template <class Sink, class... SinkArguments>
void RunLoop(benchmark::State& state, const std::string& variable, SinkArguments... arguments) {
  Project project = LoopProject(variable);
  DiscardingBuffer buffer;
  std::ostream out(&buffer);
  for (auto _ : state) {
    Sink sink(out, arguments...);
    BuildRunner runner(project, sink);
    if (!runner.Run()) state.SkipWithError("the build failed");
  }
  state.SetItemsProcessed(state.iterations() * kIterations);
  state.counters["per_action"] =
      benchmark::Counter(static_cast<double>(state.iterations()) * kIterations,
                         benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void BM_JsonLog(benchmark::State& state) { RunLoop<JsonLogSink>(state, ""); }
void BM_JsonLogWithLoopVariable(benchmark::State& state) { RunLoop<JsonLogSink>(state, "I"); }
void BM_TextLog(benchmark::State& state) {
  RunLoop<TextLogSink>(state, "", TerminalStyle{}, TextLogSink::Dialect::kPlain);
}
void BM_TextLogWithLoopVariable(benchmark::State& state) {
  RunLoop<TextLogSink>(state, "I", TerminalStyle{}, TextLogSink::Dialect::kPlain);
}

BENCHMARK(BM_JsonLog)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_JsonLogWithLoopVariable)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_TextLog)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_TextLogWithLoopVariable)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace brivant::host

BENCHMARK_MAIN();
