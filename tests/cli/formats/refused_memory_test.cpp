// Every request for memory that reading and writing a page make through operator new is refused in
// turn, also where it is made in a parallel loop or below a C library.
#include "base/errors.h"
#include "command/program.h"
#include "command/report.h"
#include "formats/write_page.h"
#include "page/page_job.h"
#include "page/page_lines.h"
#include "picture/print_metadata.h"
#include "picture_kinds.h"
#include "render/examination.h"
#include "render/scan_load.h"
#include "samples.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <limits>
#include <new>

static std::atomic<long> asked{-1}; // below 0 while none counts
static std::atomic<long> refused{0};
static std::atomic<bool> lasting{false};

[[gnu::noinline]] void* operator new(std::size_t size)
{
    if (asked >= 0) {
        const long number = asked++;
        if (number == refused || (lasting && number > refused)) {
            throw std::bad_alloc();
        }
    }
    void* block = std::malloc(size > 0 ? size : 1);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

// A sanitizer brings one of its own, whose blocks are not for the operators below.
[[gnu::noinline]] void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    try {
        return operator new(size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

[[gnu::noinline]] void operator delete(void* block) noexcept
{
    std::free(block);
}

[[gnu::noinline]] void operator delete(void* block, std::size_t) noexcept
{
    std::free(block);
}

// These libraries lose what they hold where a request of theirs is refused. A leak checker asks.
extern "C" [[gnu::visibility("default")]] const char* __lsan_default_suppressions();
const char* __lsan_default_suppressions()
{
    return "leak:libOpenEXR\nleak:libde265\nleak:libjxl\nleak:libraw\n";
}

namespace qva {

namespace {

constexpr ImageSize size = {24, 40};

/// @return whether it was done.
template <typename Call>
bool IsDone(const Call& call)
{
    try {
        call();
        return true;
    } catch (const Error&) {
    } catch (const std::bad_alloc&) {
    } catch (const std::length_error&) {
    }
    return false;
}

/// Calls run with each of its requests refused in turn, and then with all from each one on.
/// @param check  is told whether run was done and which request was the first.
/// @return how many were refused.
template <typename Run, typename Check>
long RefuseEach(const Run& run, long most, bool mayLast, const Check& check)
{
    refused = std::numeric_limits<long>::max();
    asked = 0;
    run();
    const long last = asked.exchange(-1);
    check(true, -1);
    const char* every = std::getenv("LUMO_SWEEP_STRIDE");
    const bool all = every != nullptr && std::atol(every) == 1;
    const long stride = all ? 1 : std::max(last / most, 1L);
    long count = 0;
    for (const bool isLasting : {false, true}) {
        for (long number = 0; number < (isLasting && !mayLast ? 0 : last);
             number += stride, ++count) {
            lasting = isLasting;
            refused = number;
            asked = 0;
            const bool done = IsDone(run);
            asked = -1;
            check(done, number);
        }
    }
    return count;
}

/// What a print does but for the rendering, which has a sweep of its own.
/// @param asColumns  the way of a page in bands, through a scratch file.
void Copy(const std::string& photo, const std::string& result, bool asColumns)
{
    constexpr SizeLimits limits = {1000000};
    Progress progress(ProgressStyle::None);
    OutputFile output(result);
    std::unique_ptr<ImageSource> source;
    const Examination found = Examine(photo, {}, {}, limits, progress, source);
    const SceneDecoder decoder(found.meaning, photo);
    const LightSteps light(found.light);
    source->Open(photo, limits);
    Page page = LoadPage(*source, decoder, light, found.range, progress);
    if (asColumns) {
        PageLines lines(*source, decoder, light, found.range, Direction::Columns, limits,
                        FolderOf(result));
        lines.Seek(0, progress);
        lines.Read(size.width, page.codes.get());
    }
    WritePage(output, page, {Compression::Deflate, 300.0}, progress);
    output.Commit();
}

TEST(RefusedMemory, EndsInAMessageAndLeavesTheOldFile)
{
    const samples::Folder folder;
    std::vector<double> light;
    for (int i = 0; i < size.width * size.height * 3; ++i) {
        light.push_back(0.01 * std::pow(1.003, i));
    }
    light[5] = std::numeric_limits<double>::infinity();
    const std::string photo = folder / "photo";
    samples::WriteTiff(photo, size, light, {.bits = 32, .isFloat = true});
    long count = 0;
    for (const std::string name : {"a.tif", "a.png", "columns.tif"}) {
        SCOPED_TRACE(name);
        const std::string result = folder / name;
        const auto run = [&] { Copy(photo, result, name == "columns.tif"); };
        run();
        const std::string whole = samples::Content(result);
        count += RefuseEach(run, 1000, true, [&](bool done, long number) {
            EXPECT_EQ(done ? whole : "old", samples::Content(result)) << number;
            for (const auto& entry : std::filesystem::directory_iterator(folder / "")) {
                EXPECT_FALSE(entry.path().filename().string().starts_with(".")) << number;
            }
            samples::WriteBytes(result, "old");
        });
    }
    std::cout << count << " requests refused\n";
    EXPECT_LT(10, count);
}

/// The rows of a picture, and what describes it.
void ReadInto(const std::string& path, std::vector<float>& rows, Metadata& metadata)
{
    const std::unique_ptr<ImageSource> source = OpenImage(path, {1000000});
    std::vector<float> read(
        static_cast<std::size_t>(source->Size().width * source->Size().height * 3));
    source->ReadRows(source->Size().height, read.data());
    metadata = MetadataForPrint(source->Describe());
    rows = std::move(read);
}

// Decoders ask, too, and some of them in threads of their own.
TEST(RefusedMemory, OfReadersEndsInAMessage)
{
    const samples::Folder folder;
    samples::WritePictureKinds(folder / "");
    long count = 0;
    long ended = 0;
    for (const auto& kind : std::filesystem::directory_iterator(folder / "")) {
        const std::string path = kind.path().string();
        SCOPED_TRACE(path);
        std::vector<float> whole;
        std::vector<float> rows;
        Metadata metadata;
        ReadInto(path, whole, metadata);
        const auto run = [&] {
            rows.clear();
            ReadInto(path, rows, metadata);
        };
        // libde265 asks for memory while it gives memory back.
        const bool mayLast = path.find("heic") == std::string::npos;
        count += RefuseEach(run, 24, mayLast, [&](bool done, long number) {
            ended += done ? 0 : 1;
            EXPECT_EQ(done, rows == whole) << number;
        });
    }
    std::cout << count << " requests refused, " << ended << " ended the reading\n";
    EXPECT_LT(count / 2, ended);
}

/// All that is written and read as JSON.
std::string AllJson(const Examination& found)
{
    PageJob job;
    job.plan.page = {24, 40};
    job.plan.bandLines = 20;
    job.plan.stripLines = 10;
    const ShareRecord share = ParseShare(ShareText(job, 7), "share");
    job.render.threshold = 20.0;
    return ReportJson(found, 1.3) + DifferenceOf(share.job, JobText(job)) + ShareText(job);
}

TEST(RefusedMemory, OfJsonNeverEndsTheProgram)
{
    Examination found;
    found.description.path = "a photograph with a name that is longer than what fits a string";
    found.description.notes = {"a note that is longer than what fits into a string itself"};
    found.description.findings = {{"label", "a finding that is longer than what fits a string"}};
    const std::string whole = AllJson(found);
    EXPECT_NE(std::string::npos, whole.find("threshold is 1.3 and 20.0"));
    std::string text;
    const auto run = [&] {
        text.clear();
        text = AllJson(found);
    };
    const long count = RefuseEach(run, 1000000, true, [&](bool done, long number) {
        EXPECT_EQ(done ? whole : "", text) << number;
    });
    std::cout << count << " requests refused\n";
    EXPECT_LT(10, count);
}

// The whole program, from its command line on, without any memory from some request on.
TEST(RefusedMemory, OfTheProgramIsToldWithoutAny)
{
    GTEST_FLAG_SET(death_test_style, "fast");
    const samples::Folder folder;
    const std::string photo = folder / "photo";
    samples::WriteTiff(photo, size, std::vector<double>(24 * 40 * 3, 9000.0), {});
    const char* line[] = {"qva", "info", photo.c_str()};
    for (const long number : {0, 1, 7, 50, 300, 900, 1500}) {
        const auto run = [&] {
            lasting = true;
            refused = number;
            asked = 0;
            std::_Exit(RunProgram(3, line));
        };
        EXPECT_EXIT(run(), testing::ExitedWithCode(1), "not enough memory") << number;
    }
}

} // namespace

} // namespace qva
