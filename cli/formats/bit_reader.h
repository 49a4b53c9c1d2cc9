// Numbers out of bytes that may be damaged: whole bytes, and single bits.
#pragma once

#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>

namespace qva {

using Bytes = std::span<const unsigned char>;

/// Reads big-endian numbers one after the other.
/// Every call throws std::out_of_range, and nothing else, where the bytes end too early.
class ByteReader {
public:
    explicit ByteReader(Bytes bytes) : bytes_(bytes) {}

    std::size_t Place() const { return place_; }
    std::size_t Left() const { return bytes_.size() - place_; }

    Bytes Take(std::uint64_t count)
    {
        if (count > Left()) {
            throw std::out_of_range("bytes");
        }
        const Bytes taken = bytes_.subspan(place_, static_cast<std::size_t>(count));
        place_ += taken.size();
        return taken;
    }

    /// @param count  0 ... 8 bytes; none are the number 0.
    std::uint64_t Number(int count)
    {
        std::uint64_t number = 0;
        for (const unsigned char byte : Take(static_cast<std::uint64_t>(count))) {
            number = number << 8 | byte;
        }
        return number;
    }

    std::uint32_t Word() { return static_cast<std::uint32_t>(Number(4)); }

    /// Up to and with a zero byte, which is left out.
    std::string Text()
    {
        std::string text;
        for (auto letter = Number(1); letter != 0; letter = Number(1)) {
            text.push_back(static_cast<char>(letter));
        }
        return text;
    }

private:
    Bytes bytes_;
    std::size_t place_ = 0;
};

/// Reads bits, the highest of a byte first. Throws as ByteReader does.
class BitReader {
public:
    explicit BitReader(Bytes bytes) : bytes_(bytes) {}

    /// @param count  0 ... 32.
    std::uint32_t Number(int count)
    {
        std::uint32_t number = 0;
        for (int i = 0; i < count; ++i, ++place_) {
            if (place_ / 8 >= bytes_.size()) {
                throw std::out_of_range("bits");
            }
            number = number << 1 | (bytes_[place_ / 8] >> (7 - place_ % 8) & 1U);
        }
        return number;
    }

    bool Flag() { return Number(1) != 0; }

    void Skip(int count)
    {
        for (; count > 0; count -= 32) {
            Number(count < 32 ? count : 32);
        }
    }

    /// Exponential Golomb code of order 0 (ITU-T H.265, 9.2).
    std::uint32_t Golomb()
    {
        int zeros = 0;
        while (!Flag()) {
            if (++zeros > 31) {
                throw std::out_of_range("code");
            }
        }
        return (1U << zeros) - 1U + Number(zeros);
    }

private:
    Bytes bytes_;
    std::size_t place_ = 0;
};

} // namespace qva
