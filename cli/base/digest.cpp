#include "base/digest.h"

#include "base/descriptor.h"
#include "base/errors.h"

#include <cerrno>
#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

namespace qva {

void Digest::Add(const void* bytes, std::size_t count)
{
    // FNV-1a, 64 bits.
    const auto* next = static_cast<const unsigned char*>(bytes);
    for (std::size_t i = 0; i < count; ++i) {
        value_ = (value_ ^ next[i]) * 0x100000001b3u;
    }
}

void Digest::AddFile(const std::string& path)
{
    const Descriptor file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    std::vector<char> block(std::size_t{1} << 18);
    for (ssize_t count = 1; count > 0;) {
        count = file.IsOpen() ? read(file.Get(), block.data(), block.size()) : -1;
        if (count < 0) {
            throw Failure(path, SystemReason(errno));
        }
        Add(block.data(), static_cast<std::size_t>(count));
    }
}

std::string Digest::Text() const
{
    return fmt::format("{:016x}", value_);
}

std::uint64_t DigestOf(const std::vector<unsigned char>& bytes)
{
    Digest digest;
    digest.Add(bytes.data(), bytes.size());
    return digest.Value();
}

} // namespace qva
