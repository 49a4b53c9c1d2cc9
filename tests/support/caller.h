// A host with one small picture: its records, valid until a test spoils one, and its buffers.
#pragma once

#include "controller/qva_controller.h"
#include "support/file_matcher.h"

#include <algorithm>
#include <cmath>

namespace lumo::test {

struct Caller {
    explicit Caller(uint32_t width = 70, uint32_t height = 40)
        : source(size_t{width} * height * 3), result(source.size(), 0xBEEF)
    {
        src = {width, height, uint64_t{width} * 6, 3, 16, 1, 2, 0, source.data()};
        dst = {width, height, uint64_t{width} * 6, 3, 16, 1, 2, 0, result.data()};
        band = {0, 0, width - 1, height - 1, {1, 1, 0, 0}};
        page = {0, 0, width - 1, height - 1, width, height};
        for (size_t i = 0; i < source.size(); ++i) { // two fields above a ramp
            const size_t x = i / 3 % width, field = 2 * x < width ? 5000 : 52000;
            source[i] = uint16_t(2 * i < source.size() ? field + i % 3 * 900 : 900 * x);
        }
    }
    bool Untouched() const
    {
        return std::count(result.begin(), result.end(), 0xBEEF) == std::ssize(result);
    }
    uint32_t Apply(QvaController& controller, bool print)
    {
        return controller.Apply(&dst, &src, &encoding, &conditions, print);
    }
    uint32_t Analyse(QvaController& controller)
    {
        return controller.Analysis(&src, &encoding, &conditions);
    }
    uint32_t Correct(QvaController& controller)
    {
        return controller.CorrectionForPrint(&dst, &src, &encoding, &conditions, &band, &page);
    }

    std::vector<uint16_t> source, result;
    QVA_IMAGE src, dst;
    QVA_SOURCE_RANGE range = {2, 0.005f, 1000.0f};
    QVA_SOURCE_ENCODING encoding = {1, 2, 0, 0.005f, 85, 1.3f, 65535, 1000.0f, {}};
    QVA_OUTPUT_CONDITIONS conditions = {100, 1.3f, 1.0, 1.0, "a profile", 0, 0};
    QVA_BAND_AREA band;
    QVA_PAGE_AREA page;
};

/// A paper whose black is `black` of 65535 (white is 32768).
inline void PrintOnPaper(uint16_t black)
{
    FileMatcher() = {};
    FileMatcher().answer = [black](const Triple& rgb) {
        const double light = std::pow((rgb[0] + 2.0 * rgb[1] + rgb[2]) / 262140.0, 2.2);
        const auto y = static_cast<uint16_t>(black + (32768 - black) * light);
        return Triple{y, y, y};
    };
}

} // namespace lumo::test
