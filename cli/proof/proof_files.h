// The pictures of a proof on their way to the disk.
#pragma once

#include "base/output_file.h"
#include "formats/view_png.h"

#include <array>
#include <optional>
#include <string>
#include <vector>

namespace qva {

/// Names of the files; none is written where one is empty.
struct ProofNames {
    std::string proof;
    std::string gamutMap;
    std::string inkMap;

    std::array<const std::string*, 3> All() const { return {&proof, &gamutMap, &inkMap}; }
};

/// How they are written.
struct ProofFormat {
    ImageSize size;
    int bits = 8;                              ///< of a sample of the proof: 8 or 16
    const std::vector<unsigned char>& profile; ///< of the display; none for sRGB
    double inkLimit = 0.0;                     ///< percent of total area coverage
};

class ProofFiles {
public:
    /// Creates what is asked for under temporary names.
    /// @throws Failure where a folder cannot be written.
    explicit ProofFiles(const ProofNames& names);

    /// Must come before the first row.
    void Begin(const ProofFormat& format);

    /// @param row  view::count values a pixel.
    void Write(const float* row);

    /// Completes the files and gives them their names; every row must have come.
    void Commit();

private:
    struct Picture {
        explicit Picture(const std::string& path) : file(path) {}

        OutputFile file;
        std::optional<ViewPng> png;
    };

    std::optional<Picture> proof_;
    std::optional<Picture> gamutMap_;
    std::optional<Picture> inkMap_;
    ImageSize size_;
    int bits_ = 8;
    double inkLimit_ = 0.0;
    std::vector<unsigned char> row_;
    std::vector<std::uint16_t> deepRow_;
};

} // namespace qva
