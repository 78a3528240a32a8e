// Times the columns of a question.  scripts/measure/bench asks for many short repetitions in random
// order, so that other load on the machine affects all columns alike.

#include <benchmark/benchmark.h>

#include "columns.h"

namespace {

constexpr std::int64_t BATCH = 64;  // runs between two checks of the time budget

void timeRun(benchmark::State& state, const bench::Column& column, bench::Run& run)
{
    if (!run)
        run = column.prepare();
    run(BATCH);
    while (state.KeepRunningBatch(BATCH))
        run(BATCH);
}

void takeSample(benchmark::State& state, const bench::Column& column)
{
    while (state.KeepRunning()) {
        const bench::Sample sample = column.measure();
        state.SetIterationTime(sample.seconds);
        for (const auto& [name, value] : sample.counters)
            state.counters[name] = benchmark::Counter(value, benchmark::Counter::kAvgIterations);
    }
}

}  // namespace

int main(int argc, char** argv)
{
    static std::map<const bench::Column*, bench::Run> runs;
    for (const bench::Column& column : bench::columns()) {
        const std::string name = column.question + "/" + column.name;
        if (column.prepare)
            benchmark::RegisterBenchmark(name.c_str(), [&column](benchmark::State& state) {
                timeRun(state, column, runs[&column]);
            });
        else
            benchmark::RegisterBenchmark(
                name.c_str(), [&column](benchmark::State& state) { takeSample(state, column); })
                ->UseManualTime()
                ->Iterations(1);
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
