#include "Harness.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <map>
#include <memory>
#include <opencv2/core/utility.hpp>
#include <stdexcept>
#include <thread>
#include <utility>

namespace bench
{
namespace
{

constexpr Size hd{1920, 1080};
constexpr Size uhd{3840, 2160};

/// Cost per pixel at the greater size over that at the smaller one, beside memcpy's own; at most.
constexpr double rise_aim = 1.2;

/// More than the last cache holds.
constexpr std::size_t sweep_bytes = std::size_t{64} << 20;

struct Summary {
    double least;
    double median;
};

/// One row at one size.
struct Entry {
    std::string row;
    Size size;
    std::function<Work(Size)> make;

    std::unique_ptr<Work> work = {};
    std::vector<std::function<void()>> calls = {}; ///< library, memcpy, peers
    std::vector<std::vector<double>> times = {};   ///< of each call, in ms
    std::string failure = {};                      ///< where the outputs are not as told; nothing is timed then
};

std::vector<Entry>& entries()
{
    static std::vector<Entry> all;
    return all;
}

std::string text(Size size) { return std::to_string(size.width) + "x" + std::to_string(size.height); }

std::string full_name(Entry const& entry) { return entry.row + "/" + text(entry.size); }

bool warm = false;

/// Makes the row's images, compares the outputs, and lists what is to be timed.
void prepare(Entry& entry)
{
    entry.work = std::make_unique<Work>(entry.make(entry.size));
    Work const& work = *entry.work;
    cv::setNumThreads(static_cast<int>(work.peer_threads));
    work.library();
    for (Peer const& peer : work.peers) {
        peer.run();
        if (peer.agreement.check)
            peer.agreement.check();
    }

    // Written before the first measurement, so that no page is mapped inside one.
    auto const from = std::make_shared<std::vector<unsigned char>>(work.bytes / 2, 1);
    auto const to = std::make_shared<std::vector<unsigned char>>(work.bytes / 2, 2);
    entry.calls = {work.library, [from, to] { std::memcpy(to->data(), from->data(), to->size()); }};
    for (Peer const& peer : work.peers)
        entry.calls.push_back(peer.run);
    entry.times.resize(entry.calls.size());
}

void pass_other_memory()
{
    static std::vector<std::uint64_t> memory(sweep_bytes / sizeof(std::uint64_t));
    for (std::uint64_t& value : memory)
        ++value;
    benchmark::ClobberMemory();
}

void measure(benchmark::State& state, Entry& entry)
{
    using Clock = std::chrono::steady_clock;
    try {
        if (entry.work == nullptr)
            prepare(entry);
    } catch (std::exception const& failure) {
        // Not by the state's own means: Google Benchmark 1.7 ends the program over a failure in repetitions.
        entry.failure = failure.what();
    }
    for ([[maybe_unused]] auto _ : state)
        for (std::size_t i = 0; i < entry.calls.size(); ++i) {
            if (warm)
                entry.calls[i]();
            else
                pass_other_memory();
            Clock::time_point const start = Clock::now();
            entry.calls[i]();
            benchmark::ClobberMemory();
            entry.times[i].push_back(std::chrono::duration<double, std::milli>(Clock::now() - start).count());
        }
}

Summary summary(std::vector<double> times)
{
    std::sort(times.begin(), times.end());
    return {times.front(), times[times.size() / 2]};
}

std::string number(double value)
{
    char digits[32];
    std::snprintf(digits, sizeof digits, "%.2f", value);
    return digits;
}

/// A ratio beside its aim; bold where it misses it.
std::string beside(double ratio, double aim)
{
    if (aim == 0)
        return number(ratio);
    return std::lround(100 * ratio) <= std::lround(100 * aim) ? number(ratio) + " ≤ " + number(aim)
                                                              : "**" + number(ratio) + " > " + number(aim) + "**";
}

/// Prints each row when it ends.
class Table : public benchmark::BenchmarkReporter
{
public:
    explicit Table(std::map<std::string, Entry*> entries_by_name) : entries_(std::move(entries_by_name)) {}

    bool ReportContext(Context const&) override
    {
        std::puts("| row | frame | ms | median | x memcpy | rise | peer | peer ms | library / peer | peer's output |\n"
                  "|---|---|---|---|---|---|---|---|---|---|");
        return true;
    }

    void ReportRuns(std::vector<Run> const& runs) override
    {
        if (runs.front().run_type != Run::RT_Iteration)
            return; // the second report, of means
        Entry& entry = *entries_.at(runs.front().run_name.function_name);
        if (entry.failure.empty()) {
            print(entry);
        } else {
            failed_ = true;
            std::cerr << full_name(entry) << ": " << entry.failure << '\n';
        }
        // The next row's images take this room.
        entry.work.reset();
        entry.calls.clear();
    }

    bool failed() const { return failed_; }

private:
    void print(Entry const& entry)
    {
        bool const aimed = entry.size.width == hd.width;
        Work const& work = *entry.work;
        Summary const own = summary(entry.times[0]);
        double const against_memcpy = own.least / summary(entry.times[1]).least;
        std::string rise;
        if (aimed)
            hd_against_memcpy_[entry.row] = against_memcpy;
        else if (hd_against_memcpy_.count(entry.row) != 0)
            rise = beside(against_memcpy / hd_against_memcpy_[entry.row], rise_aim);
        std::printf("| %s | %s | %.3f | %.3f | %s | %s |", entry.row.c_str(), text(entry.size).c_str(), own.least,
                    own.median, beside(against_memcpy, aimed ? work.aim : 0).c_str(), rise.c_str());
        for (std::size_t i = 0; i < work.peers.size(); ++i) {
            Peer const& peer = work.peers[i];
            double const theirs = summary(entry.times[2 + i]).least;
            std::printf("%s %s | %.3f | %s | %s |", i == 0 ? "" : "\n| | | | | | |", peer.name.c_str(), theirs,
                        beside(own.least / theirs, aimed ? peer.aim : 0).c_str(), peer.agreement.note.c_str());
        }
        std::puts(work.peers.empty() ? " | | | |" : "");
        std::fflush(stdout);
    }

    std::map<std::string, Entry*> entries_;
    std::map<std::string, double> hd_against_memcpy_;
    bool failed_ = false;
};

} // namespace

void add(std::string row, std::function<Work(Size)> make)
{
    entries().push_back({row, hd, make});
    entries().push_back({std::move(row), uhd, std::move(make)});
}

int run(int count, char** arguments)
{
    // The first repetition finds how many rounds fill the time; the others repeat them.
    std::vector<std::string> defaults{"--benchmark_repetitions=9", "--benchmark_min_time=0.05"};
    std::vector<char*> words{arguments[0]};
    for (std::string& option : defaults)
        words.push_back(option.data());
    for (int i = 1; i < count; ++i)
        if (std::strcmp(arguments[i], "--warm") == 0)
            warm = true;
        else
            words.push_back(arguments[i]);
    int word_count = static_cast<int>(words.size());
    benchmark::Initialize(&word_count, words.data());
    if (benchmark::ReportUnrecognizedArguments(word_count, words.data()))
        return 2;

    std::map<std::string, Entry*> by_name;
    for (Entry& entry : entries()) {
        by_name[full_name(entry)] = &entry;
        benchmark::RegisterBenchmark(full_name(entry).c_str(), [&entry](benchmark::State& state) {
            measure(state, entry);
        })->UseRealTime();
    }
    Table table(std::move(by_name));
    benchmark::RunSpecifiedBenchmarks(&table);
    return table.failed() ? 1 : 0;
}

unsigned int processors() { return std::max(1U, std::thread::hardware_concurrency()); }

} // namespace bench
