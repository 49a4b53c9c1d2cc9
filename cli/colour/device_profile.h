// A printer through its ICC profile: from the codes of a result to device values, and from those to
// the colours on paper.
#pragma once

#include "colour/printer_profile.h"
#include "picture/rendered_for.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace qva {

/// L*, a* and b*, D50.
using Lab = std::array<double, 3>;

/// What the colorimetry of a print is relative to.
enum class PaperWhite {
    Shown,   ///< the perfect diffuser: paper has its own white (absolute colorimetric)
    Adapted, ///< the paper: its white is L* 100
};

/// Any number of threads may convert at once.
class DeviceProfile {
public:
    /// @param name  of the file, for messages.
    /// @throws Failure where the profile is damaged or has no table for a direction.
    DeviceProfile(const PrinterProfile& profile, const DeviceIntent& intent,
                  const std::string& name);
    ~DeviceProfile();
    DeviceProfile(DeviceProfile&&) noexcept;

    int Channels() const;

    /// The device values are amounts of ink, 65535 the most; else of light.
    bool IsInk() const;

    /// ICC's signature of the device space, such as "CMYK" or "6CLR".
    std::string Space() const;

    /// "Cyan", "Magenta" ...; by their numbers where the space does not say.
    std::vector<std::string> ChannelNames() const;

    /// Codes of a result to device values, packed.
    void FromCodes(const std::uint16_t* codes, std::size_t count, std::uint16_t* device) const;

    /// The colours that device values have on paper.
    void ToLab(const std::uint16_t* device, std::size_t count, PaperWhite white, Lab* lab) const;

    /// The colours that codes of a result ask for, relative to the paper.
    void AskedLab(const std::uint16_t* codes, std::size_t count, Lab* lab) const;

private:
    struct Engine;
    std::unique_ptr<Engine> engine_;
};

} // namespace qva
