#include "proof/proof_source.h"

#include "base/errors.h"
#include "base/memory_limit.h"
#include "colour/icc_builder.h"
#include "page/band_plan.h"
#include "render/renderer.h"

#include <algorithm>

namespace qva {

namespace {

bool IsRendered(const SourceDescription& description)
{
    return description.bits == 16 && !description.isFloat && !description.isGrey &&
           description.tags.profile == RenderedProfile();
}

} // namespace

ProofSource::ProofSource(const ProofInput& input)
    : input_(input), source_(OpenImage(input.path, input.limits))
{
    description_ = source_->Describe();
    isResult_ = IsRendered(description_);
    if (!isResult_ && PaperOf(description_)) {
        throw Failure(input.path, "holds device values already: proof the result without "
                                  "--to-device");
    }
    if (isResult_ && description_.orientation != 1) {
        throw Failure(input.path, "is stored on its side: a share of a page is joined first");
    }
}

void ProofSource::Prepare(const PrinterProfile& profile, const RenderSettings& settings,
                          Progress& progress, const Look& look)
{
    if (isResult_) {
        return;
    }
    if (PrintMemory(Size()) > MemoryLimit()) {
        throw Failure(input_.path,
                      "does not fit memory: render it with qva page, then proof the "
                      "result",
                      exitFailed);
    }
    found_ = Examine(input_.path, input_.source, input_.light, input_.limits, progress, source_);
    source_->Open(input_.path, input_.limits);
    const SceneDecoder decoder(found_->rows, input_.path);
    page_ = LoadPage(*source_, decoder, LightSteps(found_->light), found_->range, progress);
    source_->Close();
    if (look) {
        look(page_, found_->range);
    }
    progress.Show("rendering", -1.0);
    Render(page_, found_->range, profile, settings, input_.path);
}

void ProofSource::Read(std::int64_t count, std::uint16_t* codes)
{
    const std::int64_t samples = count * Size().width * 3;
    if (isResult_) {
        samples_.resize(static_cast<std::size_t>(samples));
        source_->ReadRows(count, samples_.data());
        std::transform(samples_.begin(), samples_.end(), codes,
                       [](float sample) { return static_cast<std::uint16_t>(sample); });
    } else {
        std::copy_n(page_.codes.get() + next_ * Size().width * 3, samples, codes);
    }
    next_ += count;
}

} // namespace qva
