// What is proofed: a result of ours, or a picture that is rendered first.
#pragma once

#include "colour/device_profile.h"
#include "render/examination.h"
#include "render/render_settings.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace qva {

/// The file, and how it is to be read where it is no result.
struct ProofInput {
    std::string path;
    SourceOptions source;
    LightOptions light;
    SizeLimits limits;
};

/// Rows of codes of a result. A result is read as it is needed; a picture is in memory.
class ProofSource {
public:
    /// Opens the file.
    /// @throws Failure where it cannot be read.
    explicit ProofSource(const ProofInput& input);

    /// 16 bits, with the profile of rendered pages.
    bool IsResult() const { return isResult_; }
    const SourceDescription& Describe() const { return description_; }
    ImageSize Size() const { return UprightSize(description_); }

    /// Sees the page of a picture before it is rendered.
    using Look = std::function<void(const Page& page, const RenderRange& range)>;

    /// Renders a picture; nothing is done to a result.
    /// @throws Failure where it does not fit memory, or cannot be rendered.
    void Prepare(const PrinterProfile& profile, const RenderSettings& settings, Progress& progress,
                 const Look& look = {});

    /// A picture that has been rendered.
    const Page& Rendered() const { return page_; }

    /// What was found in a picture; nothing for a result.
    const std::optional<Examination>& Found() const { return found_; }

    /// The next rows.
    void Read(std::int64_t count, std::uint16_t* codes);

private:
    ProofInput input_;
    std::unique_ptr<ImageSource> source_;
    SourceDescription description_;
    bool isResult_ = false;
    std::optional<Examination> found_;
    Page page_;
    std::int64_t next_ = 0;
    std::vector<float> samples_;
};

} // namespace qva
