// Deflate, quickly: for rendered pages, which hard work makes little smaller.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace qva {

/// Compresses block after block, each by itself; used by one thread.
class Deflater {
public:
    /// Whether it is quicker than what libtiff does for the same size.
    static const bool isQuick;

    /// @throws std::bad_alloc, as every call.
    Deflater();
    ~Deflater();
    Deflater(Deflater&&) noexcept;

    /// @param out  set to a zlib stream (RFC 1950).
    void MakeStream(std::span<const unsigned char> data, std::vector<unsigned char>& out);

    /// @param isLast  whether no piece follows.
    /// @param out     set to a piece of a deflate stream (RFC 1951): pieces make a stream when they
    ///                stand one behind the other, because each ends with a byte.
    void MakePiece(std::span<const unsigned char> data, bool isLast,
                   std::vector<unsigned char>& out);

    /// The checksum at the end of a zlib stream; 1 before the first byte.
    static std::uint32_t Adler32(std::uint32_t before, std::span<const unsigned char> data);

private:
    struct State;
    std::unique_ptr<State> state_;
};

} // namespace qva
