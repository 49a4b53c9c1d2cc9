#include "picture/input_file.h"

#include "base/errors.h"
#include "base/memory_limit.h"

#include <cerrno>
#include <fmt/format.h>
#include <sys/stat.h>

namespace qva {

std::uint64_t SizeOfRegularFile(const std::string& path)
{
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) {
        throw Failure(path, SystemReason(errno));
    }
    if (!S_ISREG(status.st_mode)) {
        throw Failure(path, S_ISDIR(status.st_mode) ? "is a directory" : "is not a regular file");
    }
    return static_cast<std::uint64_t>(status.st_size);
}

void CheckPromise(const std::string& path, ImageSize size, std::uint64_t sampleBytes,
                  std::uint64_t expansion)
{
    constexpr std::uint64_t pixelsPerByte = 65536;
    const std::uint64_t bytes = SizeOfRegularFile(path);
    const auto pixels =
        static_cast<std::uint64_t>(size.width) * static_cast<std::uint64_t>(size.height);
    if (pixels / pixelsPerByte > bytes || (expansion > 0 && sampleBytes / expansion > bytes)) {
        throw Failure(path, fmt::format("is damaged: its {} bytes cannot hold {} x {} pixels",
                                        bytes, size.width, size.height));
    }
}

void CheckMemory(const std::string& path, const char* what, std::uint64_t bytes)
{
    if (bytes > MemoryLimit()) {
        throw Failure(
            path, fmt::format("{} takes {} bytes at once, more than this machine has", what, bytes),
            exitFailed);
    }
}

} // namespace qva
