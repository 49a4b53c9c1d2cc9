// Deflate by zlib, where ISA-L is not there.
#include "formats/deflater.h"

#include <new>
#include <stdexcept>
#include <zlib.h>

namespace qva {

const bool Deflater::isQuick = false;

struct Deflater::State {
    static void Run(std::span<const unsigned char> data, int windowBits, bool isLast,
                    std::vector<unsigned char>& out);
};

void Deflater::State::Run(std::span<const unsigned char> data, int windowBits, bool isLast,
                          std::vector<unsigned char>& out)
{
    z_stream stream{};
    if (deflateInit2(&stream, Z_BEST_SPEED, Z_DEFLATED, windowBits, 8, Z_DEFAULT_STRATEGY) != Z_OK)
    {
        throw std::bad_alloc();
    }
    const std::unique_ptr<z_stream, int (*)(z_stream*)> end(&stream, deflateEnd);
    // The empty block behind a piece takes five bytes.
    out.resize(deflateBound(&stream, data.size()) + 16);
    // Only read, though the library takes a pointer that would let it write.
    stream.next_in = const_cast<unsigned char*>(data.data());
    stream.avail_in = static_cast<uInt>(data.size());
    stream.next_out = out.data();
    stream.avail_out = static_cast<uInt>(out.size());
    const int done = deflate(&stream, isLast ? Z_FINISH : Z_FULL_FLUSH);
    if (done != (isLast ? Z_STREAM_END : Z_OK) || stream.avail_in != 0 || stream.avail_out == 0) {
        throw std::logic_error("a block was not deflated");
    }
    out.resize(stream.total_out);
}

Deflater::Deflater() = default;
Deflater::~Deflater() = default;
Deflater::Deflater(Deflater&&) noexcept = default;

void Deflater::MakeStream(std::span<const unsigned char> data, std::vector<unsigned char>& out)
{
    State::Run(data, MAX_WBITS, true, out);
}

void Deflater::MakePiece(std::span<const unsigned char> data, bool isLast,
                         std::vector<unsigned char>& out)
{
    State::Run(data, -MAX_WBITS, isLast, out);
}

std::uint32_t Deflater::Adler32(std::uint32_t before, std::span<const unsigned char> data)
{
    return static_cast<std::uint32_t>(adler32_z(before, data.data(), data.size()));
}

} // namespace qva
