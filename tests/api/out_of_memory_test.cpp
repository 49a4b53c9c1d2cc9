// Every request for memory that a call makes is refused in turn, alone and with all later ones.
#include "support/file_matcher.h"
#include "support/host.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <new>
#include <omp.h>
#include <sys/mman.h>

// Requests of this call, below 0 while none counts, and the first that is refused.
static thread_local long asked = -1, refused = 0;
static thread_local bool lasting = false;

// The linker sends the library's requests here; the runtimes' own are not refused.
#define LUMO_WRAP(type, name, failure, parameters, ...)                                            \
    extern "C" type __real_##name parameters;                                                      \
    extern "C" type __wrap_##name parameters                                                       \
    {                                                                                              \
        const bool now = asked >= 0 && (asked++ == refused || (lasting && asked > refused));       \
        return now ? failure : __real_##name(__VA_ARGS__);                                         \
    }
LUMO_WRAP(void*, malloc, nullptr, (size_t n), n)
LUMO_WRAP(int, posix_memalign, ENOMEM, (void** p, size_t to, size_t n), p, to, n)
LUMO_WRAP(void*, mmap, MAP_FAILED, (void* p, size_t n, int mode, int how, int file, off_t at), p, n,
          mode, how, file, at)
LUMO_WRAP(void*, _Znwm, throw std::bad_alloc(), (size_t n), n)
LUMO_WRAP(void*, _Znam, throw std::bad_alloc(), (size_t n), n)
LUMO_WRAP(void*, _ZnwmSt11align_val_t, throw std::bad_alloc(), (size_t n, size_t to), n, to)

namespace lumo::test {
namespace {
class OutOfMemory : public testing::TestWithParam<Operation>, protected Host {
protected:
    OutOfMemory() : Host(64, 45, "any profile") {}
    uint32_t Run(Operation operation, uint32_t seed)
    {
        FileMatcher().asked.clear();
        return Call(operation, seed);
    }
    Codes Result(Operation operation, uint32_t seed)
    {
        EXPECT_EQ(QVA_OK, Run(operation, seed));
        return result;
    }
};
TEST_P(OutOfMemory, EndsInStatusOneAndLeavesTheHandleUsable)
{
    constexpr long stride = 31;
    omp_set_num_threads(1);
    LoadFileMatcher(LUMO_CONFORMANCE_DIR "/device.raw");
    FileMatcher().asked.reserve(8192); // the matcher's requests are not the library's
    // The first handle builds the tables of the process.
    for (refused = 0, asked = 0; QVA_Initialize(&handle) != QVA_OK; ++refused, asked = 0) {
        ASSERT_EQ(nullptr, handle);
    }
    asked = -1;
    // What an analysis stored shows in a correction.
    Codes corrected[2];
    for (const uint32_t seed : {1, 0}) {
        Result(analysis, seed);
        corrected[seed] = Result(correction, 0);
    }
    ASSERT_NE(corrected[0], corrected[1]);
    const Codes whole = Result(GetParam(), 1);
    for (lasting = false, refused = 0; refused >= 0; refused += stride) {
        SCOPED_TRACE(refused);
        Result(analysis, 0);
        asked = 0;
        const uint32_t status = Run(GetParam(), 1);
        const bool reached = asked > refused;
        asked = -1;
        ASSERT_EQ(reached ? QVA_ERROR_PROCESSING : QVA_OK, status);
        ASSERT_TRUE(result == (reached ? blank : whole));
        ASSERT_TRUE(Result(correction, 0) == corrected[!reached && GetParam() == analysis]);
        ASSERT_TRUE(Result(GetParam(), 1) == whole);
        refused = reached ? refused : (lasting ? -2 * stride : -stride);
        lasting = lasting || !reached;
    }
}

INSTANTIATE_TEST_SUITE_P(Calls, OutOfMemory, testing::Values(print, preview, analysis, correction));
} // namespace
} // namespace lumo::test
