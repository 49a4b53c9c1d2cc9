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

/// The samples of a picture as they are stored, in the buffer of the page they become. Floats take
/// twice the room, and are kept for a picture that is stored upright: else the turned page would be
/// needed beside them.
struct KeptSamples {
    SampleKind kind = SampleKind::Floats;
    Page stored; ///< no codes where none are kept

    bool IsThere() const { return stored.codes != nullptr; }
};

/// Reads all rows of a freshly opened source once and gathers their light and flaws.
/// @param kept  where given, set to the source's samples, unless these are floats to be turned.
/// @throws std::bad_alloc where they do not fit memory.
PictureStatistics Scan(ImageSource& source, const SceneDecoder& decoder, SampleCounts& counts,
                       Progress& progress, KeptSamples* kept = nullptr);

/// Reads all rows of a freshly opened source, converts them to codes of the range and sets them
/// upright.
/// @throws std::bad_alloc where the page does not fit memory.
Page LoadPage(ImageSource& source, const SceneDecoder& decoder, const LightSteps& light,
              const RenderRange& range, Progress& progress);

/// The same into memory of the caller: packed rows of the upright page. It may be the memory that
/// the source reads from where stored rows are upright and no longer than those of codes.
void LoadCodes(ImageSource& source, const SceneDecoder& decoder, const LightSteps& light,
               const RenderRange& range, Progress& progress, std::uint16_t* page);
/// The same from kept samples, which are used up: in their own buffer where they lie upright.
Page MakePage(KeptSamples kept, const SourceDescription& description, const SceneDecoder& decoder,
              const LightSteps& light, const RenderRange& range);

} // namespace qva
