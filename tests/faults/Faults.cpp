#include "Faults.h"

#include <atomic>
#include <boost/thread/thread.hpp>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <new>
#include <thread>

namespace
{

struct Fault {
    std::atomic<long> until{0}; ///< requests left to the one that fails
    std::atomic<bool> lasting{false}, failed{false};

    bool refuses()
    {
        // Without a fault the count runs down from 0 and never comes to it.
        long const left = --until;
        if (left != 0 && !(left < 0 && lasting))
            return false;
        failed = true;
        return true;
    }
};
Fault allocation, thread;
std::atomic<long> blocks{0};

long running_threads()
{
    std::filesystem::directory_iterator const tasks("/proc/self/task");
    return std::distance(begin(tasks), end(tasks));
}
/// Counted after a first thread has come and gone, since a sanitizer may start one of its own then.
long const threads_at_start = [] {
    boost::thread([] {}).join();
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    return running_threads();
}();

} // namespace

void faults::begin(Kind kind, long n, bool lasting)
{
    Fault& fault = kind == Kind::allocation ? allocation : thread;
    fault.failed = false;
    fault.until = n;
    fault.lasting = lasting;
}

bool faults::end()
{
    for (Fault* fault : {&allocation, &thread}) {
        fault->lasting = false;
        fault->until = 0;
    }
    bool const memory_failed = allocation.failed.exchange(false);
    return thread.failed.exchange(false) || memory_failed;
}

long faults::held_blocks() { return blocks; }

bool faults::all_threads_ended()
{
    for (int round = 0; round < 1000; ++round) {
        if (running_threads() <= threads_at_start)
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return false;
}

// The linker leads the library's calls to these, and theirs to the functions that they stand for.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,readability-identifier-naming)
extern "C" {
void* __real_calloc(std::size_t count, std::size_t size);
void __real_free(void* memory);
bool __real__ZN5boost6thread21start_thread_noexceptEv(boost::thread* starting);

void* __wrap_calloc(std::size_t count, std::size_t size)
{
    void* const memory = allocation.refuses() ? nullptr : __real_calloc(count, size);
    blocks += memory != nullptr;
    return memory;
}
void __wrap_free(void* memory)
{
    blocks -= memory != nullptr;
    __real_free(memory);
}
bool __wrap__ZN5boost6thread21start_thread_noexceptEv(boost::thread* starting)
{
    return !thread.refuses() && __real__ZN5boost6thread21start_thread_noexceptEv(starting);
}
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,readability-identifier-naming)

namespace
{

void* allocate(std::size_t size)
{
    void* const memory = allocation.refuses() ? nullptr : std::malloc(size);
    blocks += memory != nullptr;
    return memory;
}
void* allocate_or_throw(std::size_t size)
{
    void* const memory = allocate(size);
    return memory != nullptr ? memory : throw std::bad_alloc();
}
void release(void* memory) noexcept { __wrap_free(memory); }

} // namespace

// All of them, since a sanitizer's own would otherwise stand beside these.
void* operator new(std::size_t size) { return allocate_or_throw(size); }
void* operator new[](std::size_t size) { return allocate_or_throw(size); }
void* operator new(std::size_t size, std::nothrow_t const&) noexcept { return allocate(size); }
void* operator new[](std::size_t size, std::nothrow_t const&) noexcept { return allocate(size); }
void operator delete(void* memory) noexcept { release(memory); }
void operator delete[](void* memory) noexcept { release(memory); }
void operator delete(void* memory, std::size_t) noexcept { release(memory); }
void operator delete[](void* memory, std::size_t) noexcept { release(memory); }
void operator delete(void* memory, std::nothrow_t const&) noexcept { release(memory); }
void operator delete[](void* memory, std::nothrow_t const&) noexcept { release(memory); }
