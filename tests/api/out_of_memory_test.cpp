// Every request for memory that a call makes is refused in turn, alone and with all later ones.
#include "core/allocation.h"
#include "support/file_matcher.h"
#include "support/host.h"
#include "support/images.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <new>
#include <omp.h>
#include <sys/mman.h>

// Requests of this call, below 0 while none counts, and the first that is refused.
static thread_local long asked = -1, refused = 0;
static thread_local bool lasting = false;
static thread_local size_t held = 0; // blocks, and bytes of mappings

// The linker sends the library's requests here; the runtimes' own are not refused.
#define LUMO_WRAP(type, name, failure, weight, parameters, ...)                                    \
    extern "C" type __real_##name parameters;                                                      \
    extern "C" type __wrap_##name parameters                                                       \
    {                                                                                              \
        if (asked >= 0 && (asked++ == refused || (lasting && asked > refused))) {                  \
            failure;                                                                               \
        }                                                                                          \
        held += weight;                                                                            \
        return __real_##name(__VA_ARGS__);                                                         \
    }
LUMO_WRAP(void*, malloc, return nullptr, 1, (size_t n), n)
LUMO_WRAP(int, posix_memalign, return ENOMEM, 1, (void** p, size_t to, size_t n), p, to, n)
LUMO_WRAP(void*, mmap, return MAP_FAILED, n,
          (void* p, size_t n, int mode, int how, int file, off_t at), p, n, mode, how, file, at)
LUMO_WRAP(void*, _Znwm, throw std::bad_alloc(), 1, (size_t n), n)
LUMO_WRAP(void*, _Znam, throw std::bad_alloc(), 1, (size_t n), n)
LUMO_WRAP(void*, _ZnwmSt11align_val_t, throw std::bad_alloc(), 1, (size_t n, size_t to), n, to)
#define LUMO_WRAP_RELEASE(type, name, weight, parameters, ...)                                     \
    extern "C" type __real_##name parameters;                                                      \
    extern "C" type __wrap_##name parameters                                                       \
    {                                                                                              \
        held -= weight;                                                                            \
        return __real_##name(__VA_ARGS__);                                                         \
    }
LUMO_WRAP_RELEASE(void, free, p != nullptr, (void* p), p)
LUMO_WRAP_RELEASE(int, munmap, n, (void* p, size_t n), p, n)
LUMO_WRAP_RELEASE(void, _ZdlPv, p != nullptr, (void* p), p)
LUMO_WRAP_RELEASE(void, _ZdaPv, p != nullptr, (void* p), p)
LUMO_WRAP_RELEASE(void, _ZdlPvm, p != nullptr, (void* p, size_t n), p, n)
LUMO_WRAP_RELEASE(void, _ZdaPvm, p != nullptr, (void* p, size_t n), p, n)
LUMO_WRAP_RELEASE(void, _ZdlPvSt11align_val_t, p != nullptr, (void* p, size_t to), p, to)
LUMO_WRAP_RELEASE(void, _ZdlPvmSt11align_val_t, p != nullptr, (void* p, size_t n, size_t to), p, n,
                  to)

namespace lumo::test {
namespace {
struct Sweep {
    Operation operation;
    bool first; // call of its handle
};
void PrintTo(const Sweep& sweep, std::ostream* out)
{
    const char* const names[] = {"print", "preview", "analysis", "correction"};
    *out << (sweep.first ? "first " : "") << names[sweep.operation];
}
class OutOfMemory : public testing::TestWithParam<Sweep>, protected Host {
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
    const char* every = std::getenv("LUMO_SWEEP_STRIDE");
    const long stride = every != nullptr ? std::atol(every) : 31;
    const auto [operation, first] = GetParam();
    omp_set_num_threads(1);
    LoadFileMatcher(LUMO_CONFORMANCE_DIR "/device.raw");
    FileMatcher().asked.reserve(8192); // the matcher's requests are not the library's
    // The first handle builds the tables of the process, the first correction its black.
    for (refused = 0, asked = 0; QVA_Initialize(&handle) != QVA_OK; ++refused, asked = 0) {
        ASSERT_EQ(nullptr, handle);
    }
    asked = -1;
    Result(analysis, 0);
    for (refused = 0, asked = 0; Run(correction, 0) != QVA_OK; refused += stride, asked = 0) {
        ASSERT_TRUE(result == blank);
    }
    asked = -1;
    // What an analysis stored shows in a correction.
    Codes corrected[2];
    for (const uint32_t seed : {1, 0}) {
        Result(analysis, seed);
        corrected[seed] = Result(correction, 0);
    }
    ASSERT_NE(corrected[0], corrected[1]);
    if (first) { // what a handle holds after its first call, of one analysis
        QVA_Terminate(&handle);
        ASSERT_EQ(QVA_OK, QVA_Initialize(&handle));
    }
    const Codes whole = Result(operation, 1);
    long refusals = 0, withstood = 0;
    for (lasting = false, refused = 0; refused >= 0; refused += stride) {
        SCOPED_TRACE(refused);
        const size_t before = held;
        if (first) {
            QVA_Terminate(&handle);
            ASSERT_EQ(QVA_OK, QVA_Initialize(&handle));
        } else {
            Result(analysis, 0);
        }
        asked = 0;
        const uint32_t status = Run(operation, 1);
        const bool reached = asked > refused;
        asked = -1;
        // A call can do without the memory that pools its buffers.
        const bool done = status == QVA_OK;
        ASSERT_TRUE(done || (reached && status == QVA_ERROR_PROCESSING)) << status;
        ASSERT_TRUE(result == (done ? whole : blank));
        if (first && !done) {
            ASSERT_EQ(QVA_ERROR_INVALID_ARGUMENT, Run(correction, 0));
        } else {
            ASSERT_TRUE(Result(correction, 0) == corrected[done && operation == analysis]);
        }
        ASSERT_TRUE(Result(operation, 1) == whole);
        ASSERT_GE(before, held);
        refusals += reached;
        withstood += reached && done;
        refused = reached ? refused : (lasting ? -2 * stride : -stride);
        lasting = lasting || !reached;
    }
    QVA_Terminate(&handle);
    EXPECT_GT(size_t{1} << 20, held); // the pool of the calls went back with what they left
    std::printf("%ld requests refused, %ld of them done without\n", refusals, withstood);
}

TEST(Allocation, SaysWhichRequestWasRefused)
{
    refused = 0;
    asked = 0;
    ExpectException(0, "Error in Alloc, malloc failed", [] { Alloc(8); });
    asked = 0;
    ExpectException(0, "Error in AllocAligned", [] { AllocAligned(8); });
    asked = -1;
}

INSTANTIATE_TEST_SUITE_P(Calls, OutOfMemory,
                         testing::Values(Sweep{print, false}, Sweep{preview, false},
                                         Sweep{analysis, true}, Sweep{analysis, false},
                                         Sweep{correction, false}));
} // namespace
} // namespace lumo::test
