#include "mutations.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string_view>
#include <vector>
#include <zlib.h>

namespace qva::samples {

namespace {

std::size_t StepFrom(std::size_t place, std::size_t stride)
{
    return place < 256 ? 1 : stride;
}

struct Number {
    std::uint32_t value;
    int bytes;
    bool isLittle;
};

constexpr std::uint32_t words[] = {0, 1, 0x10000, 0x7fffffff, 0x80000000, 0xffffffff};
constexpr std::uint32_t halfWords[] = {0, 0x7fff, 0xffff};

std::vector<Number> AllNumbers()
{
    std::vector<Number> numbers;
    for (const bool isLittle : {false, true}) {
        for (const std::uint32_t word : words) {
            numbers.push_back({word, 4, isLittle});
        }
        for (const std::uint32_t word : halfWords) {
            numbers.push_back({word, 2, isLittle});
        }
    }
    return numbers;
}

void Write(const Number& number, std::size_t place, std::string& bytes)
{
    for (int i = 0; i < number.bytes; ++i) {
        const int shift = 8 * (number.isLittle ? i : number.bytes - 1 - i);
        bytes[place + static_cast<std::size_t>(i)] = static_cast<char>(number.value >> shift);
    }
}

std::uint32_t BigEndian(const std::string& bytes, std::size_t place)
{
    std::uint32_t number = 0;
    for (std::size_t i = place; i < place + 4; ++i) {
        number = number << 8 | static_cast<unsigned char>(bytes[i]);
    }
    return number;
}

void RepairPng(std::string& bytes)
{
    // Length, type, data, checksum of the last two.
    for (std::size_t place = 8; place + 12 <= bytes.size();) {
        const std::size_t length = BigEndian(bytes, place);
        if (length > bytes.size() - place - 12) {
            return;
        }
        const auto* from = reinterpret_cast<const Bytef*>(bytes.data()) + place + 4;
        const auto sum = static_cast<std::uint32_t>(crc32(0, from, static_cast<uInt>(length + 4)));
        Write({sum, 4, false}, place + 8 + length, bytes);
        place += length + 12;
    }
}

constexpr struct {
    std::string_view beginning;
    void (*repair)(std::string& bytes);
} checksums[] = {
    {"\x89PNG\r\n\x1a\n", RepairPng},
};

} // namespace

std::size_t SweepStride()
{
    const char* every = std::getenv("LUMO_SWEEP_STRIDE");
    return every != nullptr ? static_cast<std::size_t>(std::max(std::atol(every), 1L)) : 61;
}

long CutAndTurnOver(const std::string& whole, std::size_t stride, const Attempt& attempt)
{
    long tried = 0;
    for (std::size_t keep = 0; keep < whole.size(); keep += StepFrom(keep, stride), ++tried) {
        attempt(whole.substr(0, keep));
    }
    for (std::size_t place = 0; place < whole.size(); place += StepFrom(place, stride)) {
        const bool all = stride == 1;
        for (std::size_t bit = all ? 0 : place % 8; bit < (all ? 8 : place % 8 + 1); ++bit) {
            std::string changed = whole;
            changed[place] = static_cast<char>(changed[place] ^ (1 << bit));
            attempt(WithChecksums(std::move(changed)));
            ++tried;
        }
    }
    return tried;
}

long WriteNumbers(const std::string& whole, std::size_t stride, const Attempt& attempt)
{
    const std::vector<Number> numbers = AllNumbers();
    long tried = 0;
    for (std::size_t place = 0; place + 4 <= whole.size(); place += StepFrom(place, stride)) {
        // In a share of a sweep, one after the other.
        const std::size_t first = stride == 1 ? 0 : place % numbers.size();
        const std::size_t count = stride == 1 ? numbers.size() : 1;
        for (std::size_t i = first; i < first + count; ++i) {
            std::string changed = whole;
            Write(numbers[i], place, changed);
            attempt(WithChecksums(std::move(changed)));
            ++tried;
        }
    }
    return tried;
}

std::string WithNumber(std::string bytes, std::size_t place, std::uint32_t value, bool isLittle)
{
    Write({value, 4, isLittle}, place, bytes);
    return WithChecksums(std::move(bytes));
}

std::string WithChecksums(std::string bytes)
{
    for (const auto& format : checksums) {
        if (bytes.starts_with(format.beginning)) {
            format.repair(bytes);
        }
    }
    return bytes;
}

} // namespace qva::samples
