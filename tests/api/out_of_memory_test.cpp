// Every request for memory that a call makes is refused in turn, alone and with all later ones.
#include "support/file_matcher.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <lumo/qva.h>
#include <new>
#include <omp.h>
#include <sys/mman.h>
#include <vector>

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

namespace {
using Codes = std::vector<uint16_t>;
enum Operation { print, preview, analysis, correction };
constexpr uint32_t width = 64, height = 45;
constexpr size_t guard = 4096; // codes on either side of the destination
const Codes blank(size_t{3} * width * height + 2 * guard, uint16_t{0xA5C3});
class OutOfMemory : public testing::TestWithParam<Operation> {
protected:
    // A page of patches, so that there are several segments.
    uint32_t Run(Operation operation, uint32_t seed)
    {
        for (size_t i = 0; i < page.size(); ++i) {
            const size_t patch = i / 3 % width / 16 + i / 3 / width / 15 * 5 + seed;
            page[i] = static_cast<uint16_t>(patch * 7919 % 13 * 4000 + i * i * 31 % 900);
        }
        result = blank;
        lumo::test::FileMatcher().asked.clear();
        const QVA_IMAGE src = {width, height, width * 6, 3, 16, 1, 2, 0, page.data()};
        const QVA_IMAGE dst = {width, height, width * 6, 3, 16, 1, 2, 0, result.data() + guard};
        const QVA_SOURCE_RANGE range = {2, 0.005f, 1000.0f};
        const QVA_OUTPUT_CONDITIONS paper = {100, 1.3f, 1.0, 1.0, "any profile", 0, 0};
        const QVA_BAND_AREA band = {0, 0, width - 1, height - 1, {1, 1, 0, 0}};
        const QVA_PAGE_AREA area = {0, 0, width - 1, height - 1, width, height};
        if (operation == analysis) {
            return QVA_Analysis(handle, &src, &range, 12, &paper);
        }
        if (operation == correction) {
            return QVA_CorrectionForPrint(handle, &dst, &src, &range, 12, &paper, &band, &area);
        }
        const auto apply =
            operation == print ? QVA_ApplyQVAForPrint_Wrapper : QVA_ApplyQVAForPreview_Wrapper;
        return apply(handle, &dst, &src, &range, 12, &paper);
    }
    Codes Result(Operation operation, uint32_t seed)
    {
        EXPECT_EQ(QVA_OK, Run(operation, seed));
        return result;
    }
    QVA_HANDLE handle = nullptr;
    Codes page = Codes(blank.size() - 2 * guard), result = blank;
};
TEST_P(OutOfMemory, EndsInStatusOneAndLeavesTheHandleUsable)
{
    constexpr long stride = 31;
    omp_set_num_threads(1);
    lumo::test::LoadFileMatcher(LUMO_CONFORMANCE_DIR "/device.raw");
    lumo::test::FileMatcher().asked.reserve(8192); // the matcher's requests are not the library's
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
    QVA_Terminate(&handle);
}

INSTANTIATE_TEST_SUITE_P(Calls, OutOfMemory, testing::Values(print, preview, analysis, correction));
} // namespace
