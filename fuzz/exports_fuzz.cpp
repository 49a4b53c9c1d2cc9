// Any record bytes into the exports: only 0, 1 or 5 may come back, and 5 leaves dst untouched.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <lumo/qva.h>
#include <vector>

namespace {

constexpr uint32_t sideLimit = 64;
constexpr uint16_t untouched = 0xA5C3;

// Hands the input out piece by piece; zeros once it is used up.
class Input {
public:
    Input(const uint8_t* data, size_t size) : data_(data), size_(size) {}
    template <typename Record>
    Record Take()
    {
        Record record = {};
        const size_t count = std::min(size_, sizeof record);
        if (count > 0) {
            std::memcpy(&record, data_, count);
        }
        data_ += count;
        size_ -= count;
        return record;
    }

private:
    const uint8_t* data_;
    size_t size_;
};

// The library trusts pixels to be there, so a record may claim no more than the buffer holds.
void FitBuffer(QVA_IMAGE& image, std::vector<uint16_t>& pixels, bool repair)
{
    if (repair || uint64_t{image.width} * image.height > sideLimit * sideLimit) {
        image.width = image.width % sideLimit + (repair ? 1 : 0);
        image.height = image.height % sideLimit + (repair ? 1 : 0);
    }
    if (repair) {
        image.stride = uint64_t{image.width} * 6;
        image.channels = 3;
        image.bitsPerChannel = 16;
        image.format = 1;
        image.colorSpace = 2;
    }
    image.pixels = image.pixels == nullptr && !repair ? nullptr : pixels.data();
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
    const bool sizes = (r.repair & 4) != 0;
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

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const char noProfile[] = "no profile at all";
    Input input(data, size);
    Records r = input.Take<Records>();
    std::vector<uint16_t> source(sideLimit * sideLimit * 3);
    for (uint16_t& code : source) {
        code = input.Take<uint16_t>();
    }
    std::vector<uint16_t> result(source.size(), untouched);
    FitBuffer(r.src, source, (r.repair & 1) != 0);
    FitBuffer(r.dst, result, (r.repair & 2) != 0);
    r.conditions.outputProfile = r.conditions.outputProfile == nullptr ? nullptr : noProfile;

    QVA_HANDLE handle = nullptr;
    if (QVA_Initialize(&handle) != QVA_OK) {
        std::abort();
    }
    const uint32_t status = Call(handle, r);
    if (status != QVA_OK && status != QVA_ERROR_PROCESSING && status != QVA_ERROR_INVALID_ARGUMENT)
    {
        std::abort();
    }
    const bool written =
        std::any_of(result.begin(), result.end(), [](uint16_t code) { return code != untouched; });
    if (written && status == QVA_ERROR_INVALID_ARGUMENT) {
        std::abort();
    }
    if (QVA_Terminate(&handle) != QVA_OK) {
        std::abort();
    }
    return 0;
}
