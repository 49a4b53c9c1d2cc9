// The library among the threads and the settings of a host. Every test needs a process of its own.
#include "colour/photo_paper_profile.h"
#include "support/host.h"

#include <algorithm>
#include <atomic>
#include <barrier>
#include <cfenv>
#include <clocale>
#include <csignal>
#include <dlfcn.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <iostream>
#include <omp.h>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

namespace lumo::test {
namespace {

// What all calls on one handle give. Handles meet before the first two and before their correction.
template <typename Meet>
Codes Session(uint32_t seed, Meet&& meet)
{
    Host host(130, 127, qva::photoPaperProfile);
    Codes all;
    meet();
    EXPECT_EQ(QVA_OK, QVA_Initialize(&host.handle));
    meet();
    for (const Operation operation : {analysis, correction, print, preview}) {
        if (operation == correction) {
            meet();
        }
        EXPECT_EQ(QVA_OK, host.Call(operation, seed));
        EXPECT_NE(operation == analysis, host.result != host.blank);
        all.insert(all.end(), host.result.begin(), host.result.end());
    }
    return all;
}

// A handle and a thread each; every fourth has the same page.
std::vector<Codes> Sessions(int count)
{
    std::vector<Codes> results(static_cast<size_t>(count));
    std::vector<std::thread> threads;
    std::barrier<> together(count);
    for (int i = 0; i < count; ++i) {
        threads.emplace_back([&, i] {
            results[static_cast<size_t>(i)] =
                Session(static_cast<uint32_t>(i % 4), [&] { together.arrive_and_wait(); });
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    return results;
}

// The same with threads of the library only.
std::vector<Codes> OneAfterTheOther(int count, int threads)
{
    omp_set_num_threads(threads);
    std::vector<Codes> results;
    for (int i = 0; i < count; ++i) {
        results.push_back(Session(static_cast<uint32_t>(i % 4), [] {}));
    }
    return results;
}

TEST(HostProcess, FirstCallsMayRace)
{
    const std::vector<Codes> raced = Sessions(8);
    EXPECT_TRUE(raced == OneAfterTheOther(8, 1));
}

TEST(HostProcess, HandlesAtOnceGiveTheBytesOfOneAlone)
{
    const std::vector<Codes> alone = OneAfterTheOther(8, 1);
    for (const int count : {2, 4, 8}) {
        const std::vector<Codes> results = Sessions(count);
        EXPECT_TRUE(std::equal(results.begin(), results.end(), alone.begin())) << count;
    }
    std::vector<Codes> inside(4);
#pragma omp parallel for num_threads(4) schedule(static, 1)
    for (uint32_t i = 0; i < 4; ++i) {
        inside[i] = Session(i, [] {});
    }
    EXPECT_TRUE(std::equal(inside.begin(), inside.end(), alone.begin()));
}

#ifdef LUMO_WATCH_WORKERS // the runtime of a sanitizer has stacks and threads of its own

std::atomic<int> threadsStarted{0};

// Threads of the library and of its runtime that a session on this thread starts.
int StartedBySession(int threads)
{
    omp_set_num_threads(threads);
    const int before = threadsStarted;
    Session(0, [] {});
    return threadsStarted - before;
}

TEST(HostProcess, TriesThreadsOnceAProcess)
{
    EXPECT_EQ(3 + 3, StartedBySession(4)); // for the try, and to stay
    EXPECT_EQ(0, StartedBySession(4));
    std::thread([] { EXPECT_EQ(3, StartedBySession(4)); }).join();
}

constexpr size_t painted = size_t{256} << 10;

// Fills what the stack of this thread will need next. @returns where that ends, far below.
__attribute__((noinline)) uintptr_t PaintStack()
{
    volatile unsigned char area[painted];
    std::fill(area, area + painted, uint8_t{0xA5});
    return reinterpret_cast<uintptr_t>(area);
}

__attribute__((noinline)) size_t PaintLost(uintptr_t end)
{
    const auto* area = reinterpret_cast<const volatile unsigned char*>(end);
    return static_cast<size_t>(
        area + painted - std::find_if(area, area + painted, [](auto c) { return c != 0xA5; }));
}

TEST(HostProcess, WorkersDoWithTheStackThatIsAskedFor)
{
    uintptr_t ends[4];
    size_t lost[4];
    omp_set_num_threads(4);
#pragma omp parallel
    ends[omp_get_thread_num()] = PaintStack();
    Session(0, [] {});
#pragma omp parallel
    lost[omp_get_thread_num()] = PaintLost(ends[omp_get_thread_num()]);
    const size_t most = *std::max_element(lost + 1, lost + 4);
    EXPECT_TRUE(most > 1024 && most < 32 * 1024) << most;
}

#endif

// The threads of root are not counted: the process becomes somebody who has no other.
[[noreturn]] void RenderWithThreadsBelow(rlim_t limit)
{
    const rlimit threads = {limit, limit};
    const bool limited = setrlimit(RLIMIT_NPROC, &threads) == 0 &&
                         (getuid() != 0 || setuid(static_cast<uid_t>(61000 + limit)) == 0);
    const bool same = OneAfterTheOther(2, 8) == OneAfterTheOther(2, 1);
    // Not std::exit: what a sanitizer does then takes threads of its own.
    std::_Exit(limited && same && !testing::Test::HasFailure() ? 0 : 1);
}

TEST(HostProcess, DoesWithoutThreadsThatCannotBeStarted)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    for (const rlim_t limit : {1, 2, 5, 8}) {
        EXPECT_EXIT(RenderWithThreadsBelow(limit), testing::ExitedWithCode(0), "") << limit;
    }
}

std::ptrdiff_t OpenFiles()
{
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

// The control bits, without the flags that arithmetic raises.
std::pair<unsigned, unsigned> FloatingPointControl()
{
    unsigned short x87 = 0;
    __asm__("fnstcw %0" : "=m"(x87));
    return {x87, __builtin_ia32_stmxcsr() & ~0x3Fu};
}

std::vector<std::pair<void (*)(int), int>> Handlers()
{
    std::vector<std::pair<void (*)(int), int>> handlers;
    for (int number = 1; number < SIGRTMAX; ++number) {
        struct sigaction action = {};
        sigaction(number, nullptr, &action);
        handlers.emplace_back(action.sa_handler, action.sa_flags);
    }
    return handlers;
}

TEST(HostProcess, StaysAsItWas)
{
    std::signal(SIGUSR1, SIG_IGN);
    std::setlocale(LC_ALL, "C.UTF-8");
    std::fesetround(FE_UPWARD);
    const auto control = FloatingPointControl();
    const auto handlers = Handlers();
    const std::string locale = std::setlocale(LC_ALL, nullptr);
    const auto files = OpenFiles();
    testing::internal::CaptureStdout();
    Session(1, [] {});
    static const char noProfile[144] = {};
    Host failing(64, 48, noProfile);
    EXPECT_EQ(QVA_OK, QVA_Initialize(&failing.handle));
    EXPECT_EQ(QVA_OK, failing.Call(analysis, 0));
    EXPECT_EQ(QVA_ERROR_PROCESSING, failing.Call(correction, 0));
    std::cout << "the host's" << std::flush;
    std::printf(" own words");
    EXPECT_EQ("the host's own words", testing::internal::GetCapturedStdout());
    EXPECT_EQ(files, OpenFiles());
    EXPECT_EQ(locale, std::setlocale(LC_ALL, nullptr));
    EXPECT_EQ(handlers, Handlers());
    EXPECT_EQ(control, FloatingPointControl());
}

} // namespace

#ifdef LUMO_WATCH_WORKERS
// Stands in front of the C library's, for the library and its runtime too.
extern "C" __attribute__((visibility("default"))) int pthread_create(
    pthread_t* thread, const pthread_attr_t* attributes, void* (*start)(void*),
    void* argument) noexcept
{
    ++threadsStarted;
    static const auto real =
        reinterpret_cast<decltype(&pthread_create)>(dlsym(RTLD_NEXT, "pthread_create"));
    return real(thread, attributes, start, argument);
}
#endif

} // namespace lumo::test
