// Any record bytes into the exports: only 0, 1 or 5 may come back; without 0 nothing is written,
// with it only the image's own bytes.
#include "colour/photo_paper_profile.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <lumo/qva.h>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr uint32_t sideLimit = 64;
constexpr uint8_t untouched = 0xA5;

// Hands the input out piece by piece; zeros once it is used up.
class Input {
public:
    Input(const uint8_t* data, size_t size) : data_(data), size_(size) {}
    template <typename Record>
    Record Take()
    {
        Record record = {};
        TakeInto(&record, sizeof record);
        return record;
    }
    void TakeInto(void* to, size_t size)
    {
        const size_t count = std::min(size_, size);
        if (count > 0) {
            std::memcpy(to, data_, count);
        }
        data_ += count;
        size_ -= count;
    }

private:
    const uint8_t* data_;
    size_t size_;
};

// Pixels between two pages that end the process when they are touched.
class GuardedPixels {
public:
    GuardedPixels()
    {
        page_ = static_cast<size_t>(sysconf(_SC_PAGESIZE));
        size_ = (sideLimit * sideLimit * 6 + page_ - 1) / page_ * page_;
        void* mapping =
            mmap(nullptr, size_ + 2 * page_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (mapping == MAP_FAILED) {
            std::abort();
        }
        bytes_ = static_cast<uint8_t*>(mapping) + page_;
        if (mprotect(bytes_, size_, PROT_READ | PROT_WRITE) != 0) {
            std::abort();
        }
    }
    // Room for so many bytes right behind the first guard, or right before the second.
    uint8_t* Place(size_t bytes, bool atEnd) { return atEnd ? bytes_ + size_ - bytes : bytes_; }
    std::vector<uint8_t> Copy() const { return {bytes_, bytes_ + size_}; }
    void Fill(uint8_t value) { std::memset(bytes_, value, size_); }

private:
    size_t page_ = 0;
    size_t size_ = 0;
    uint8_t* bytes_ = nullptr;
};

enum Repair : uint8_t {
    repairSrc = 1,
    repairDst = 2,
    keepSizes = 4,   // hands the sizes of the records over as they are
    realProfile = 8, // where there is one
    analysed = 16,   // the handle holds an analysis
    inPlace = 32,
    atEnd = 64,
};

uint64_t BytesOf(const QVA_IMAGE& image)
{
    return uint64_t{image.width} * image.height * 6;
}

// The library trusts pixels to be there, so a record may claim no more than the buffer holds.
void FitBuffer(QVA_IMAGE& image, GuardedPixels& pixels, bool repair, bool end)
{
    if (repair || uint64_t{image.width} * image.height > sideLimit * sideLimit) {
        image.width = image.width % sideLimit + (repair ? 1 : 0);
        image.height = image.height % sideLimit + (repair ? 1 : 0);
    }
    if (repair) {
        image.stride = uint64_t{image.width} * 6;
        image.channels = 3;
        image.bitsPerChannel = 16;
        image.format = QVA_FORMAT_RGB16;
        image.colorSpace = QVA_COLOR_SPACE_BT2020;
    }
    const bool none = image.pixels == nullptr && !repair;
    image.pixels = none ? nullptr : pixels.Place(BytesOf(image), end);
}

struct Records {
    uint8_t choice;
    uint8_t repair;
    QVA_IMAGE src;
    QVA_IMAGE dst;
    QVA_SOURCE_ENCODING encoding;
    QVA_SOURCE_RANGE range;
    QVA_OUTPUT_CONDITIONS conditions;
    QVA_BAND_AREA band;
    QVA_PAGE_AREA page;
    int32_t size;
};

uint32_t Call(QVA_HANDLE handle, const Records& r)
{
    const bool sizes = (r.repair & keepSizes) != 0;
    const int32_t encodingSize = sizes ? r.size : int32_t{sizeof r.encoding};
    const int32_t rangeSize = sizes ? r.size : int32_t{sizeof r.range};
    switch (r.choice % 6) {
    case 0:
        return QVA_ApplyQVAForPrint(handle, &r.dst, &r.src, &r.encoding, encodingSize,
                                    &r.conditions);
    case 1:
        return QVA_ApplyQVAForPreview(handle, &r.dst, &r.src, &r.encoding, encodingSize,
                                      &r.conditions);
    case 2:
        return QVA_ApplyQVAForPrint_Wrapper(handle, &r.dst, &r.src, &r.range, rangeSize,
                                            &r.conditions);
    case 3:
        return QVA_ApplyQVAForPreview_Wrapper(handle, &r.dst, &r.src, &r.range, rangeSize,
                                              &r.conditions);
    case 4:
        return QVA_Analysis(handle, &r.src, &r.range, rangeSize, &r.conditions);
    default:
        return QVA_CorrectionForPrint(handle, &r.dst, &r.src, &r.range, rangeSize, &r.conditions,
                                      &r.band, &r.page);
    }
}

void Require(bool condition)
{
    if (!condition) {
        std::abort();
    }
}

// Analyses a page of two fields; corrects it too where that is asked for.
void Analyse(QVA_HANDLE handle, bool correct = false)
{
    constexpr uint32_t width = 24;
    constexpr uint32_t height = 16;
    std::vector<uint16_t> pixels(width * height * 3);
    for (size_t i = 0; i < pixels.size(); ++i) {
        pixels[i] = static_cast<uint16_t>((i / 3 % width < 12 ? 9000 : 45000) + i * 7);
    }
    const QVA_IMAGE image = {width, height, width * 6, 3, 16, 1, 2, 0, pixels.data()};
    const QVA_SOURCE_RANGE range = {2, 0.005f, 1000.0f};
    const QVA_OUTPUT_CONDITIONS conditions = {100, 1.3f, 1.0, 1.0, qva::photoPaperProfile, 0, 0};
    const QVA_BAND_AREA band = {0, 0, width - 1, height - 1, {1, 1, 0, 0}};
    const QVA_PAGE_AREA page = {0, 0, width - 1, height - 1, width, height};
    Require(QVA_Analysis(handle, &image, &range, sizeof range, &conditions) == QVA_OK);
    Require(!correct || QVA_CorrectionForPrint(handle, &image, &image, &range, sizeof range,
                                               &conditions, &band, &page) == QVA_OK);
}

// The first correction of a process decides some things for all later ones: always the same.
bool CorrectFirst()
{
    QVA_HANDLE handle = nullptr;
    Require(QVA_Initialize(&handle) == QVA_OK);
    Analyse(handle, true);
    return QVA_Terminate(&handle) == QVA_OK;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const char noProfile[] = "no profile at all";
    static GuardedPixels source;
    static GuardedPixels result;
    static const bool ready = CorrectFirst();
    Require(ready);
    Input input(data, size);
    Records r = input.Take<Records>();
    source.Fill(0);
    result.Fill(untouched);
    FitBuffer(r.src, source, (r.repair & repairSrc) != 0, (r.repair & atEnd) != 0);
    FitBuffer(r.dst, result, (r.repair & repairDst) != 0, (r.repair & atEnd) != 0);
    if (r.src.pixels != nullptr) {
        input.TakeInto(r.src.pixels, BytesOf(r.src));
    }
    if ((r.repair & inPlace) != 0) {
        r.dst = r.src;
    }
    const void* const profile = (r.repair & realProfile) != 0
                                    ? static_cast<const void*>(qva::photoPaperProfile)
                                    : noProfile;
    r.conditions.outputProfile = r.conditions.outputProfile == nullptr ? nullptr : profile;

    QVA_HANDLE handle = nullptr;
    Require(QVA_Initialize(&handle) == QVA_OK);
    if ((r.repair & analysed) != 0) {
        Analyse(handle);
    }
    const std::vector<uint8_t> sourceBefore = source.Copy();
    std::vector<uint8_t> resultBefore = result.Copy();
    const uint32_t status = Call(handle, r);
    Require(status == QVA_OK || status == QVA_ERROR_PROCESSING ||
            status == QVA_ERROR_INVALID_ARGUMENT);
    const std::vector<uint8_t> resultAfter = result.Copy();
    // A correction that ends with 1 may have begun to write.
    const bool mayWrite = status == QVA_OK || (status == QVA_ERROR_PROCESSING && r.choice % 6 == 5);
    if (mayWrite && (r.repair & inPlace) == 0) {
        const size_t bytes = BytesOf(r.dst);
        const size_t begin = (r.repair & atEnd) != 0 ? resultAfter.size() - bytes : 0;
        std::copy_n(resultAfter.begin() + static_cast<int64_t>(begin), bytes,
                    resultBefore.begin() + static_cast<int64_t>(begin));
    }
    Require(resultAfter == resultBefore);
    Require(source.Copy() == sourceBefore || (mayWrite && (r.repair & inPlace) != 0));
    Require(QVA_Terminate(&handle) == QVA_OK);
    return 0;
}
