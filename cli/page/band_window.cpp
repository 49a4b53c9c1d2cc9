#include "page/band_window.h"

#include "base/phase_times.h"

#include <algorithm>

namespace qva {

const std::uint16_t* BandWindow::LinesOf(const Band& band, Progress& progress)
{
    const InPhase examining(Phase::Examining);
    const std::int64_t samples = plan_.LineLength() * 3;
    const std::int64_t kept =
        held_.count == 0 ? 0 : std::max<std::int64_t>(held_.End() - band.outer.first, 0);
    codes_.resize(static_cast<std::size_t>(std::max(band.outer.count, held_.count) * samples));
    std::copy_n(codes_.begin() + (held_.count - kept) * samples, kept * samples, codes_.begin());
    if (kept == 0) {
        lines_.Seek(band.outer.first, progress);
    }
    lines_.Read(band.outer.count - kept, codes_.data() + kept * samples);
    held_ = band.outer;
    return codes_.data();
}

} // namespace qva
