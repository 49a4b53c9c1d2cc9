#include "formats/exr_header.h"

#include "base/errors.h"
#include "picture/input_file.h"

#include <algorithm>
#include <cstdint>
#include <fmt/format.h>
#include <fstream>

namespace qva {

namespace {

/// One part's statements; a side is 0 where it makes no sense, which the library says better.
struct ExrPart {
    ImageSize data;
    ImageSize display;
    ImageSize tile; ///< 0 for rows
    int compression = 0;
    std::uint64_t chunkCount = 0; ///< as stated
    bool isEmpty = true;          ///< not one attribute
};

// "OpenEXR File Layout", in the order of the compressions' numbers.
constexpr std::int64_t rowsPerChunk[] = {1, 1, 1, 16, 32, 16, 32, 32, 32, 256};

// A frame of film without anything in it has a data window of one pixel; a detail of a large one
// has more.
constexpr std::int64_t emptyPixels = 1 << 24;
constexpr std::int64_t displayPerData = 4096;

/// Refused by the library, or as the picture's.
bool IsLong(ImageSize window)
{
    return std::max(window.width, window.height) > longestSide;
}

std::uint64_t Chunks(const ExrPart& part)
{
    const auto parts = [](std::int64_t all, std::int64_t one) { return (all + one - 1) / one; };
    if (part.tile.width > 0 && part.tile.height > 0) {
        return static_cast<std::uint64_t>(parts(part.data.width, part.tile.width)) *
               static_cast<std::uint64_t>(parts(part.data.height, part.tile.height));
    }
    const auto kind = static_cast<std::size_t>(part.compression);
    return static_cast<std::uint64_t>(
        parts(part.data.height, kind < std::size(rowsPerChunk) ? rowsPerChunk[kind] : 1));
}

class ExrHeaders {
public:
    explicit ExrHeaders(const std::string& path)
        : path_(path), bytes_(SizeOfRegularFile(path)), file_(path, std::ios::binary)
    {
    }

    void Check()
    {
        constexpr std::uint32_t manyParts = 0x1000;
        Number(); // the signature
        const bool hasMany = (Number() & manyParts) != 0;
        while (!CheckPart().isEmpty && hasMany) {
        }
    }

private:
    [[noreturn]] void Fail(const std::string& what) const
    {
        throw Failure(path_, "cannot be read as OpenEXR: " + what);
    }

    int Byte()
    {
        const int byte = file_.get();
        if (byte < 0) {
            Fail("its header ends too soon");
        }
        return byte;
    }

    std::uint32_t Number()
    {
        std::uint32_t number = 0;
        for (int i = 0; i < 4; ++i) {
            number |= static_cast<std::uint32_t>(Byte()) << 8 * i;
        }
        return number;
    }

    std::string Name()
    {
        constexpr std::size_t longest = 255;
        std::string name;
        for (int letter = Byte(); letter != 0; letter = Byte()) {
            name.push_back(static_cast<char>(letter));
            if (name.size() > longest) {
                Fail("a name in its header has no end");
            }
        }
        return name;
    }

    std::uint64_t Left()
    {
        return bytes_ - std::min(bytes_, static_cast<std::uint64_t>(file_.tellg()));
    }

    ImageSize Window()
    {
        std::int64_t sides[4];
        for (std::int64_t& side : sides) {
            side = static_cast<std::int32_t>(Number());
        }
        return {std::max<std::int64_t>(sides[2] - sides[0] + 1, 0),
                std::max<std::int64_t>(sides[3] - sides[1] + 1, 0)};
    }

    ExrPart CheckPart()
    {
        ExrPart part;
        for (std::string name = Name(); !name.empty(); name = Name()) {
            part.isEmpty = false;
            CheckAttribute(name, part);
        }
        constexpr std::uint64_t bytesPerChunk = 8;
        const std::uint64_t chunks = std::max(Chunks(part), part.chunkCount);
        if (chunks > bytes_ / bytesPerChunk) {
            Fail(fmt::format("its {} bytes cannot hold {} chunks", bytes_, chunks));
        }
        CheckDisplay(part);
        return part;
    }

    // Outside its data window a page takes no byte, so no length of the file speaks for it.
    void CheckDisplay(const ExrPart& part) const
    {
        if (IsLong(part.display) || IsLong(part.data)) {
            return;
        }
        const std::int64_t pixels = part.data.width * part.data.height;
        if (part.display.width * part.display.height > emptyPixels + displayPerData * pixels) {
            Fail(fmt::format("its data window of {} x {} pixels is too small for {} x {} pixels",
                             part.data.width, part.data.height, part.display.width,
                             part.display.height));
        }
    }

    void CheckAttribute(const std::string& name, ExrPart& part)
    {
        const std::string type = Name();
        const std::uint32_t size = Number();
        if (size > Left()) {
            Fail(fmt::format("its attribute {} states {} bytes, of which the file has {}",
                             OneLine(name), size, Left()));
        }
        const auto start = file_.tellg();
        if (type == "box2i" && size == 16 && (name == "dataWindow" || name == "displayWindow")) {
            const ImageSize window = Window();
            if (!IsLong(window)) {
                CheckPromise(path_, window);
            }
            (name == "dataWindow" ? part.data : part.display) = window;
        } else if (name == "tiles" && size == 9) {
            part.tile.width = Number();
            part.tile.height = Number();
        } else if (name == "compression" && size == 1) {
            part.compression = Byte();
        } else if (name == "chunkCount" && size == 4) {
            part.chunkCount = Number();
        }
        file_.seekg(start + static_cast<std::streamoff>(size));
    }

    std::string path_;
    std::uint64_t bytes_;
    std::ifstream file_;
};

} // namespace

void CheckExrSizes(const std::string& path)
{
    ExrHeaders(path).Check();
}

} // namespace qva
