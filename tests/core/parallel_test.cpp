#include "core/parallel.h"

#include "support/images.h"

namespace lumo::test {

TEST(Parallel, FailuresReachTheCallerAndWriteNothingWithoutScratch)
{
    for (const int threads : {1, 2, 7}) {
        omp_set_num_threads(threads);
        for (const int failing : {0, 500, 999}) {
            const auto body = [&](int32_t i) { i == failing ? throw Exception(2, "body") : 0; };
            ExpectException(2, "body", [&] { ParallelFor(0, 1000, body); });
        }
        const int last = std::min(threads, omp_get_thread_limit());
        std::atomic<int> prepared{0};
        std::atomic<int> written{0};
        const auto prepare = [&] { return ++prepared == last ? throw std::bad_alloc() : 0; };
        const auto write = [&](int64_t, int64_t, int) { ++written; };
        EXPECT_THROW(ParallelRangesWith(0, 100, prepare, write), std::bad_alloc);
        EXPECT_EQ(0, written) << threads;
    }
}

} // namespace lumo::test
