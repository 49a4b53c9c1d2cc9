// Walks a source once: to measure its light, or to load it as an upright page of codes.
#pragma once

#include "base/progress.h"
#include "colour/picture_statistics.h"
#include "colour/range_choice.h"
#include "colour/scene_decoder.h"
#include "formats/image_source.h"
#include "light/light_steps.h"
#include "picture/rendered_page.h"

namespace qva {

/// Reads all rows of a freshly opened source once and gathers their light and flaws.
PictureStatistics Scan(ImageSource& source, const SceneDecoder& decoder, SampleCounts& counts,
                       Progress& progress);

/// Reads all rows of a freshly opened source, converts them to codes of the range and sets them
/// upright.
/// @throws std::bad_alloc where the page does not fit memory.
Page LoadPage(ImageSource& source, const SceneDecoder& decoder, const LightSteps& light,
              const RenderRange& range, Progress& progress);

/// The same into memory of the caller: packed rows of the upright page. It may be the memory that
/// the source reads from where stored rows are upright and no longer than those of codes.
void LoadCodes(ImageSource& source, const SceneDecoder& decoder, const LightSteps& light,
               const RenderRange& range, Progress& progress, std::uint16_t* page);

} // namespace qva
