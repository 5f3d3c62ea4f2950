#include "Harness.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <map>
#include <utility>
#include <vector>

namespace bench
{
namespace
{

std::vector<Work>& rows()
{
    static std::vector<Work> all;
    return all;
}

/// Milliseconds of one iteration, a value for each repetition.
using Times = std::vector<double>;

class Table : public benchmark::BenchmarkReporter
{
public:
    bool ReportContext(Context const&) override { return true; }

    void ReportRuns(std::vector<Run> const& runs) override
    {
        for (Run const& run : runs)
            if (run.run_type == Run::RT_Iteration && !run.error_occurred)
                times_[run.run_name.function_name].push_back(run.real_accumulated_time /
                                                             static_cast<double>(run.iterations) * 1e3);
    }

    void print() const
    {
        std::printf("| row | ms | median | x memcpy | peer | peer ms | library / peer | note |\n");
        std::printf("|---|---|---|---|---|---|---|---|\n");
        for (Work const& work : rows()) {
            if (times_.count(work.row + "/library") == 0)
                continue;
            double const own = least(work.row + "/library");
            std::printf("| %s | %.3f | %.3f | %.2f |", work.row.c_str(), own, median(work.row + "/library"),
                        own / least(work.row + "/memcpy"));
            if (work.peer)
                std::printf(" %s | %.3f | %.2f |", work.peer_name.c_str(), least(work.row + "/peer"),
                            own / least(work.row + "/peer"));
            else
                std::printf(" | | |");
            std::printf(" %s |\n", work.note.c_str());
        }
    }

private:
    double least(std::string const& name) const
    {
        Times const& times = times_.at(name);
        return *std::min_element(times.begin(), times.end());
    }

    double median(std::string const& name) const
    {
        Times times = times_.at(name);
        std::sort(times.begin(), times.end());
        return times[times.size() / 2];
    }

    std::map<std::string, Times> times_;
};

void measure(std::string const& name, std::function<void()> const& work)
{
    benchmark::RegisterBenchmark(name.c_str(), [work](benchmark::State& state) {
        for (auto _ : state) {
            work();
            benchmark::ClobberMemory();
        }
    })->UseRealTime();
}

} // namespace

void add(Work work) { rows().push_back(std::move(work)); }

void require_equal(std::string const& row, void const* library, void const* peer, std::size_t bytes)
{
    if (std::memcmp(library, peer, bytes) == 0)
        return;
    auto const* const a = static_cast<unsigned char const*>(library);
    auto const* const b = static_cast<unsigned char const*>(peer);
    std::size_t const first = static_cast<std::size_t>(std::mismatch(a, a + bytes, b).first - a);
    std::cerr << row << ": the outputs differ, first at byte " << first << ": " << +a[first] << " and " << +b[first]
              << '\n';
    std::exit(1);
}

int run(int count, char** arguments)
{
    // Interleaved repetitions: a slow moment of the machine meets the library and the peer alike.
    std::vector<std::string> options{"--benchmark_enable_random_interleaving=true", "--benchmark_repetitions=25",
                                     "--benchmark_min_time=0.01"};
    std::vector<char*> words{arguments[0]};
    for (std::string& option : options)
        words.push_back(option.data());
    words.insert(words.end(), arguments + 1, arguments + count);
    int word_count = static_cast<int>(words.size());
    benchmark::Initialize(&word_count, words.data());
    if (benchmark::ReportUnrecognizedArguments(word_count, words.data()))
        return 2;

    std::size_t most = 0;
    for (Work const& work : rows())
        most = std::max(most, work.bytes / 2);
    // Written before the first measurement, so that no page is mapped inside one.
    std::vector<unsigned char> from(most, 1);
    std::vector<unsigned char> to(most, 2);
    for (Work const& work : rows()) {
        measure(work.row + "/library", work.library);
        measure(work.row + "/memcpy", [&from, &to, &work] { std::memcpy(to.data(), from.data(), work.bytes / 2); });
        if (work.peer)
            measure(work.row + "/peer", work.peer);
    }
    Table table;
    benchmark::RunSpecifiedBenchmarks(&table);
    table.print();
    return 0;
}

} // namespace bench
