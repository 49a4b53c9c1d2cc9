// Deflate by ISA-L. Its bytes are the same on every processor.
#include "formats/deflater.h"

#include <isa-l/igzip_lib.h>
#include <new>
#include <stdexcept>

namespace qva {

const bool Deflater::isQuick = true;

struct Deflater::State {
    // See docs/performance.md for what the levels cost and save.
    static constexpr int level = 1;
    std::vector<unsigned char> tokens = std::vector<unsigned char>(ISAL_DEF_LVL1_EXTRA_LARGE);

    void Run(std::span<const unsigned char> data, int framing, bool isLast,
             std::vector<unsigned char>& out);
};

void Deflater::State::Run(std::span<const unsigned char> data, int framing, bool isLast,
                          std::vector<unsigned char>& out)
{
    // What does not shrink is stored, with five bytes for every 65,535.
    out.resize(data.size() + data.size() / 64 + 1024);
    isal_zstream stream;
    isal_deflate_init(&stream);
    stream.level = level;
    stream.level_buf = tokens.data();
    stream.level_buf_size = static_cast<std::uint32_t>(tokens.size());
    stream.gzip_flag = static_cast<std::uint16_t>(framing);
    stream.flush = isLast ? NO_FLUSH : FULL_FLUSH;
    stream.end_of_stream = isLast ? 1 : 0;
    // Only read, though the library takes a pointer that would let it write.
    stream.next_in = const_cast<unsigned char*>(data.data());
    stream.avail_in = static_cast<std::uint32_t>(data.size());
    stream.next_out = out.data();
    stream.avail_out = static_cast<std::uint32_t>(out.size());
    if (isal_deflate(&stream) != COMP_OK || stream.avail_in != 0 || stream.avail_out == 0) {
        throw std::logic_error("a block was not deflated");
    }
    out.resize(stream.total_out);
}

Deflater::Deflater() : state_(std::make_unique<State>())
{
}

Deflater::~Deflater() = default;
Deflater::Deflater(Deflater&&) noexcept = default;

void Deflater::MakeStream(std::span<const unsigned char> data, std::vector<unsigned char>& out)
{
    state_->Run(data, IGZIP_ZLIB, true, out);
}

void Deflater::MakePiece(std::span<const unsigned char> data, bool isLast,
                         std::vector<unsigned char>& out)
{
    state_->Run(data, IGZIP_DEFLATE, isLast, out);
}

std::uint32_t Deflater::Adler32(std::uint32_t before, std::span<const unsigned char> data)
{
    return isal_adler32(before, data.data(), data.size());
}

} // namespace qva
