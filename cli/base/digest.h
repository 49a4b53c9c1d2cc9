// Digests of bytes, to see whether something is what it was. Not against people who want to
// deceive.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace qva {

class Digest {
public:
    void Add(const void* bytes, std::size_t count);

    /// Adds a text with its end, so that "ab", "c" and "a", "bc" differ.
    void Add(const std::string& text) { Add(text.c_str(), text.size() + 1); }

    /// Adds all bytes of a file.
    /// @throws Failure where it cannot be read.
    void AddFile(const std::string& path);

    std::uint64_t Value() const { return value_; }

    /// @return 16 hexadecimal digits.
    std::string Text() const;

private:
    std::uint64_t value_ = 0xcbf29ce484222325u;
};

std::uint64_t DigestOf(const std::vector<unsigned char>& bytes);

} // namespace qva
