// Pictures with an embedded ICC profile: to linear BT.2020 through the colour engine.
#pragma once

#include "picture/source_description.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace qva {

/// Converts RGB signals of an ICC profile to linear light with the primaries of ITU-R BT.2020,
/// media-relative colorimetric: the profile's white becomes (1, 1, 1).
class ProfileTransform {
public:
    /// @param name  of the file, for messages.
    /// @throws Failure where the profile is damaged, not for RGB, or cannot be used as a source.
    ProfileTransform(const std::vector<unsigned char>& profile, const std::string& name);
    ~ProfileTransform();

    /// Converts pixels of interleaved R, G, B in place. Signals are in [0, 1]; others are carried
    /// on where the profile's curves allow it.
    void Convert(float* rgb, std::size_t pixels) const;

private:
    struct Engine;
    std::unique_ptr<Engine> engine_;
};

/// Reads the code points (tag cicp) of an ICC profile, where it has them.
std::optional<CodePoints> FindCodePoints(const std::vector<unsigned char>& profile);

} // namespace qva
