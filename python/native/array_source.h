// A numpy array behind the interface of picture files, so that it goes their way from there on.
#pragma once

#include "array_view.h"
#include "formats/image_source.h"

namespace qva::python {

/// What is said of an array that came with nothing: its size and how its samples are stored.
SourceDescription DescriptionOf(const ArrayView& view);

class ArraySource : public ImageSource {
public:
    /// @param view         of the stored rows.
    /// @param description  of the file that they come from, or of DescriptionOf.
    ArraySource(const ArrayView& view, SourceDescription description);

    /// Starts over; the array is there already.
    void Open(const std::string& path, const SizeLimits& limits) override;
    ImageSize Size() const override { return view_.size; }
    const SourceDescription& Describe() const override { return description_; }
    void ReadRows(std::int64_t count, float* rgb) override;
    void SkipRows(std::int64_t count) override { next_ += count; }
    void Close() override {}

private:
    ArrayView view_;
    SourceDescription description_;
    std::int64_t next_ = 0;
};

} // namespace qva::python
