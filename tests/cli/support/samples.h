// Small picture files, written with the formats' own libraries.
#pragma once

#include "picture/source_description.h"

#include <OpenEXR/ImfCompression.h>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace qva::samples {

/// A directory that is removed with everything in it.
class Folder {
public:
    Folder();
    ~Folder();
    std::string operator/(const std::string& name) const { return (path_ / name).string(); }

private:
    std::filesystem::path path_;
};

struct Chunk {
    std::string name;
    std::vector<unsigned char> data;
};

struct PngKind {
    int bits = 16;
    int channels = 3; ///< 1 grey, 2 with alpha, 3 RGB, 4 with alpha
    bool interlaced = false;
    std::vector<Chunk> chunks = {}; ///< written as they are
    std::vector<unsigned char> profile = {};
};

struct TiffKind {
    int bits = 16;
    bool isFloat = false;
    int channels = 3;
    bool isPlanar = false;
    bool isTiled = false;
    bool isBigEndian = false;
    int orientation = 1;
    int photometric = 2;
    int rowsPerStrip = 2;
};

struct ExrKind {
    bool isHalf = true;
    bool isGrey = false;
    std::vector<float> chromaticities = {}; ///< eight, or none
    float whiteLuminance = 0.0f;
    int displayLeft = 0; ///< of a display window of the same size
    int displayTop = 0;
};

/// Interleaved samples, row by row; integers for PNG and integer TIFF.
void WritePng(const std::string& path, ImageSize size, const std::vector<double>& samples,
              const PngKind& kind);
void WriteTiff(const std::string& path, ImageSize size, const std::vector<double>& samples,
               const TiffKind& kind);
void WriteExr(const std::string& path, ImageSize size, const std::vector<float>& rgb,
              const ExrKind& kind);
void WriteBytes(const std::string& path, const std::string& bytes);

/// Luminance and chroma channels, interleaved R, G, B in; from (left, top) on.
void WriteChromaExr(const std::string& path, ImageSize size, const std::vector<float>& rgb,
                    int left = 0, int top = 0);

/// A picture of half samples, compressed as asked for.
void WriteCompressedExr(const std::string& path, ImageSize size, const std::vector<float>& rgb,
                        Imf::Compression compression);

/// One part of float samples for each name, all of one size.
struct ExrPart {
    std::string name;
    std::vector<std::string> channels;
    float value = 0.0f; ///< of all samples
};

void WriteExrParts(const std::string& path, ImageSize size, const std::vector<ExrPart>& parts);

std::string Content(const std::string& path);

/// All rows of a picture, read in blocks of rowsAtOnce.
std::vector<float> ReadAll(const std::string& path, std::int64_t rowsAtOnce = 1);

/// Bytes that reading a hostile file may take. The sanitizers hold back much of what was given back
/// to them.
#if defined(LUMO_PLAIN_HEAP)
inline constexpr std::uint64_t allowance = std::uint64_t{1} << 30;
#else
inline constexpr std::uint64_t allowance = std::uint64_t{64} << 20;
#endif

/// Reads a picture as the program does, but for the table of integer codes, which takes long to
/// build and does not depend on the file.
void Read(const std::string& path, std::uint64_t maxPixels);

/// @return what() of the qva::Error that call throws; "" where it throws none.
std::string ErrorOf(const std::function<void()>& call);

} // namespace qva::samples
