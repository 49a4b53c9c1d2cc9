#include "formats/png_metadata.h"

#include "picture/iptc_copy.h"
#include "picture/print_metadata.h"

#include <cctype>
#include <cstdio>
#include <cstring>
#include <fmt/format.h>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <zlib.h>

namespace qva {

namespace {

using Bytes = std::vector<unsigned char>;

std::string_view TextOf(std::span<const unsigned char> bytes)
{
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

std::uint32_t NumberAt(const unsigned char* bytes)
{
    return static_cast<std::uint32_t>(bytes[0]) << 24 | static_cast<std::uint32_t>(bytes[1]) << 16 |
           static_cast<std::uint32_t>(bytes[2]) << 8 | bytes[3];
}

/// What stands behind a keyword and the byte 0; nothing where it is another keyword.
std::span<const unsigned char> Behind(const Bytes& chunk, const char* keyword)
{
    const std::size_t length = std::strlen(keyword) + 1;
    return TextOf(chunk).starts_with(std::string_view(keyword, length))
               ? std::span(chunk).subspan(length)
               : std::span<const unsigned char>();
}

/// PNG, third edition, 11.3.3.4: compression flag and method, language, translated keyword, text.
Bytes PacketOf(const Bytes& chunk)
{
    const std::span<const unsigned char> rest = Behind(chunk, pngXmpKeyword);
    if (rest.size() < 4 || rest[0] != 0) {
        return {};
    }
    const std::string_view text = TextOf(rest).substr(2);
    const std::size_t language = text.find('\0');
    const std::size_t keyword =
        language == std::string_view::npos ? language : text.find('\0', language + 1);
    return keyword == std::string_view::npos
               ? Bytes()
               : Bytes(text.begin() + static_cast<std::ptrdiff_t>(keyword) + 1, text.end());
}

int DigitOf(char letter)
{
    const int lower = std::tolower(static_cast<unsigned char>(letter));
    return lower >= '0' && lower <= '9'   ? lower - '0'
           : lower >= 'a' && lower <= 'f' ? lower - 'a' + 10
                                          : -1;
}

/// The kind, the number of bytes, and the bytes as digits in lines.
Bytes ResourcesOf(std::string_view text)
{
    Bytes bytes;
    // Behind an empty line and the two lines before the digits.
    for (int line = 0; line < 3; ++line) {
        const std::size_t end = text.find('\n');
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
    int high = -1;
    for (const char letter : text) {
        const int digit = DigitOf(letter);
        if (digit >= 0 && high >= 0) {
            bytes.push_back(static_cast<unsigned char>(high << 4 | digit));
            high = -1;
        } else if (digit >= 0) {
            high = digit;
        }
    }
    return bytes;
}

/// PNG, third edition, 11.3.3.3: compression method, text.
Bytes IptcOf(const Bytes& chunk)
{
    const std::span<const unsigned char> rest = Behind(chunk, pngIptcKeyword);
    if (rest.size() < 2 || rest[0] != 0) {
        return {};
    }
    // Deflate makes 1032 bytes of one at most.
    uLongf size = static_cast<uLongf>(std::min(rest.size() * 1032, 2 * mostMetadata));
    Bytes text(size);
    if (uncompress(text.data(), &size, rest.data() + 1, static_cast<uLong>(rest.size() - 1)) !=
        Z_OK) {
        return {};
    }
    return IptcOfResources(ResourcesOf(TextOf(text).substr(0, size)));
}

/// Goes from chunk to chunk.
class ChunkWalk {
public:
    explicit ChunkWalk(const std::string& path) : file_(std::fopen(path.c_str(), "rb"), CloseFile)
    {
        constexpr long signatureBytes = 8;
        isOver_ = !file_ || std::fseek(file_.get(), signatureBytes, SEEK_SET) != 0;
    }

    /// @return the name of the next chunk; nothing behind the last.
    std::optional<std::string> Next()
    {
        unsigned char header[8];
        if (isOver_ || std::fread(header, 1, sizeof header, file_.get()) != sizeof header) {
            return std::nullopt;
        }
        size_ = NumberAt(header);
        std::memcpy(name_, header + 4, sizeof name_);
        return std::string(name_, sizeof name_);
    }

    /// @return the bytes of the chunk that Next named; nothing where they are damaged.
    Bytes Take()
    {
        if (size_ > mostMetadata) {
            Pass();
            return {};
        }
        Bytes bytes(size_);
        unsigned char checksum[4];
        const bool isThere =
            std::fread(bytes.data(), 1, bytes.size(), file_.get()) == bytes.size() &&
            std::fread(checksum, 1, sizeof checksum, file_.get()) == sizeof checksum;
        const uLong name = crc32_z(0, reinterpret_cast<const Bytef*>(name_), sizeof name_);
        isOver_ = !isThere;
        return isThere && crc32_z(name, bytes.data(), bytes.size()) == NumberAt(checksum) ? bytes
                                                                                          : Bytes();
    }

    void Pass() { isOver_ = fseeko(file_.get(), off_t{size_} + 4, SEEK_CUR) != 0; }

private:
    static void CloseFile(std::FILE* file) { std::fclose(file); }

    std::unique_ptr<std::FILE, void (*)(std::FILE*)> file_;
    bool isOver_ = false;
    std::uint32_t size_ = 0;
    char name_[4] = {};
};

void Keep(Bytes found, Bytes& first)
{
    if (first.empty()) {
        first = std::move(found);
    }
}

} // namespace

Metadata ReadPngMetadata(const std::string& path)
{
    // A picture of gigabytes has as many chunks; what lies behind more is not looked for.
    constexpr int mostChunks = 1 << 20;
    Metadata metadata;
    bool isIptcSeen = false;
    ChunkWalk walk(path);
    std::optional<std::string> name = walk.Next();
    for (int i = 0; name && i < mostChunks; ++i, name = walk.Next()) {
        if (*name == "eXIf") {
            Keep(walk.Take(), metadata.exif);
        } else if (*name == "iTXt") {
            Keep(PacketOf(walk.Take()), metadata.xmp);
        } else if (*name == "zTXt" && !isIptcSeen) {
            // Inflated once: thousands of small ones would take long.
            const Bytes chunk = walk.Take();
            isIptcSeen = !Behind(chunk, pngIptcKeyword).empty();
            metadata.iptc = IptcOf(chunk);
        } else {
            walk.Pass();
        }
    }
    return metadata;
}

std::string PngIptcText(const std::vector<unsigned char>& iptc)
{
    const Bytes resources = ResourcesOfIptc(iptc);
    std::string text = fmt::format("\niptc\n{:8}", resources.size());
    constexpr std::size_t bytesPerLine = 36;
    for (std::size_t i = 0; i < resources.size(); ++i) {
        text += i % bytesPerLine == 0 ? "\n" : "";
        text += fmt::format("{:02x}", resources[i]);
    }
    return text + '\n';
}

} // namespace qva
