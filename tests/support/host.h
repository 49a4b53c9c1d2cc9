// A host of the exports with one handle and a page of patches, which has several segments.
#pragma once

#include <lumo/qva.h>
#include <vector>

namespace lumo::test {

enum Operation { print, preview, analysis, correction };
using Codes = std::vector<uint16_t>;

class Host {
public:
    Host(uint32_t width, uint32_t height, const void* profile)
        : width_(width),
          height_(height),
          profile_(profile),
          blank(size_t{3} * width * height + 2 * guard, uint16_t{0xA5C3})
    {
    }
    ~Host() { QVA_Terminate(&handle); }

    /// One call on the page of this seed; a correction has the page as its only band.
    uint32_t Call(Operation operation, uint32_t seed)
    {
        page_.resize(blank.size() - 2 * guard);
        for (size_t i = 0; i < page_.size(); ++i) {
            const size_t patch = i / 3 % width_ / 16 + i / 3 / width_ / 15 * 5 + seed;
            page_[i] = static_cast<uint16_t>(patch * 7919 % 13 * 4000 + i * i * 31 % 900);
        }
        result = blank;
        const QVA_IMAGE src = {width_, height_, width_ * 6, 3, 16, 1, 2, 0, page_.data()};
        const QVA_IMAGE dst = {width_, height_, width_ * 6, 3, 16, 1, 2, 0, result.data() + guard};
        const QVA_SOURCE_RANGE range = {2, 0.005f, 1000.0f};
        const QVA_OUTPUT_CONDITIONS paper = {100, 1.3f, 1.0, 1.0, profile_, 0, 0};
        const QVA_BAND_AREA band = {0, 0, width_ - 1, height_ - 1, {1, 1, 0, 0}};
        const QVA_PAGE_AREA area = {0, 0, width_ - 1, height_ - 1, width_, height_};
        switch (operation) {
        case print:
            return QVA_ApplyQVAForPrint_Wrapper(handle, &dst, &src, &range, 12, &paper);
        case preview:
            return QVA_ApplyQVAForPreview_Wrapper(handle, &dst, &src, &range, 12, &paper);
        case analysis:
            return QVA_Analysis(handle, &src, &range, 12, &paper);
        default:
            return QVA_CorrectionForPrint(handle, &dst, &src, &range, 12, &paper, &band, &area);
        }
    }

private:
    static constexpr size_t guard = 4096; // codes on either side of the destination
    uint32_t width_, height_;
    const void* profile_;
    Codes page_;

public:
    const Codes blank;
    Codes result;
    QVA_HANDLE handle = nullptr;
};

} // namespace lumo::test
