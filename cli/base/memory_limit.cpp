#include "base/memory_limit.h"

#include <algorithm>
#include <fstream>
#include <limits>
#include <memory>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

namespace qva {

namespace {

constexpr std::uint64_t unlimited = std::numeric_limits<std::uint64_t>::max();

/// @return unlimited where there is no such file or it holds no number ("max").
std::uint64_t NumberIn(const char* path)
{
    std::ifstream file(path);
    std::uint64_t number = 0;
    return file >> number ? number : unlimited;
}

std::uint64_t PhysicalMemory()
{
    const long pages = sysconf(_SC_PHYS_PAGES);
    const long size = sysconf(_SC_PAGESIZE);
    return pages > 0 && size > 0
               ? static_cast<std::uint64_t>(pages) * static_cast<std::uint64_t>(size)
               : unlimited;
}

std::uint64_t AddressSpace()
{
    rlimit limit{};
    const bool known = getrlimit(RLIMIT_AS, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY;
    return known ? limit.rlim_cur : unlimited;
}

} // namespace

std::uint64_t MemoryLimit()
{
    const std::uint64_t limit =
        std::min({PhysicalMemory(), AddressSpace(), NumberIn("/sys/fs/cgroup/memory.max"),
                  NumberIn("/sys/fs/cgroup/memory/memory.limit_in_bytes")});
    return limit / 5 * 4;
}

std::uint64_t PeakMemory()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<std::uint64_t>(usage.ru_maxrss) * 1024;
}

void GiveBack(void* begin, std::size_t bytes)
{
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    std::size_t left = bytes;
    if (std::align(page, page, begin, left) != nullptr) {
        madvise(begin, left / page * page, MADV_DONTNEED);
    }
}

} // namespace qva
