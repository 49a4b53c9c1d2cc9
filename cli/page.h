// A picture in memory, upright, in the 16-bit codes the library takes.
#pragma once

#include "image_source.h"
#include "picture_statistics.h"
#include "progress.h"
#include "range_choice.h"
#include "scene_decoder.h"

#include <cstdint>
#include <memory>

namespace qva {

/// Packed rows of interleaved R, G, B.
struct Page {
    ImageSize size;
    std::unique_ptr<std::uint16_t[]> codes;
};

/// Converts samples of a picture to codes of a range; rgb is used up.
void EncodeBlock(float* rgb, std::size_t pixels, const SceneDecoder& decoder,
                 const RenderRange& range, std::uint16_t* codes);

/// Reads all rows of a freshly opened source once and gathers their light and flaws.
PictureStatistics Scan(ImageSource& source, const SceneDecoder& decoder, SampleCounts& counts,
                       Progress& progress);

/// Reads all rows of a freshly opened source, converts them to codes of the range and sets them
/// upright.
/// @throws std::bad_alloc where the page does not fit memory.
Page LoadPage(ImageSource& source, const SceneDecoder& decoder, const RenderRange& range,
              Progress& progress);

} // namespace qva
