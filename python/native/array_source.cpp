#include "array_source.h"

#include <utility>

namespace qva::python {

SourceDescription DescriptionOf(const ArrayView& view)
{
    SourceDescription description;
    description.path = "pixels";
    description.format = "array";
    description.size = view.size;
    description.bits = view.type == SampleType::Float ? 32 : 16;
    description.isFloat = view.type != SampleType::Code16;
    return description;
}

ArraySource::ArraySource(const ArrayView& view, SourceDescription description)
    : view_(view), description_(std::move(description))
{
}

void ArraySource::Open(const std::string& /*path*/, const SizeLimits& limits)
{
    CheckSize(description_.path, view_.size, limits);
    next_ = 0;
}

void ArraySource::ReadRows(std::int64_t count, float* rgb)
{
#pragma omp parallel for schedule(static)
    for (std::int64_t row = 0; row < count; ++row) {
        ReadRow(view_, next_ + row, rgb + row * view_.size.width * 3);
    }
    next_ += count;
}

} // namespace qva::python
