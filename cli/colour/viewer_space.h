// The display that a proof is looked at on.
#pragma once

#include "colour/device_profile.h"

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace qva {

/// From colours to the codes of a display, whose white stands for the perfect diffuser.
class ViewerSpace {
public:
    static ViewerSpace Srgb();
    static ViewerSpace DisplayP3();

    /// @throws Failure where the file is no profile of an RGB display.
    static ViewerSpace Monitor(const std::string& path);

    ~ViewerSpace();
    ViewerSpace(ViewerSpace&&) noexcept;

    /// For people: "sRGB", or what the monitor's profile says.
    const std::string& Name() const { return name_; }
    bool IsSrgb() const { return profile_.empty(); }

    /// To be embedded; none for sRGB.
    const std::vector<unsigned char>& Profile() const { return profile_; }

    /// Signals of R, G, B; outside of 0 ... 1 where the display cannot show the colour and its
    /// profile tells how far it is off. Any number of threads may ask at once.
    void FromLab(const Lab* lab, std::size_t count, float* rgb) const;

private:
    struct Engine;
    explicit ViewerSpace(std::string name);
    void Use(void* display);

    std::string name_;
    std::vector<unsigned char> profile_;
    std::unique_ptr<Engine> engine_;
};

} // namespace qva
