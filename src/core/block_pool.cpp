#include "core/block_pool.h"

#include "core/allocation.h"

#include <bitset>
#include <mutex>
#include <sys/mman.h>

namespace lumo {
namespace {

#if defined(LUMO_PLAIN_HEAP)
constexpr bool pooled = false;
#else
constexpr bool pooled = true;
#endif
constexpr uint64_t granule = 64 * 1024;
constexpr uint64_t chunkBytes = uint64_t{64} << 20;
constexpr uint64_t largePage = uint64_t{2} << 20;
constexpr uint64_t largestBlock = chunkBytes / 2;
constexpr int granules = static_cast<int>(chunkBytes / granule);
constexpr int chunkLimit = 32;

// Granules of one mapping. A block is a run of them, whose length stands at its first.
struct Chunk {
    char* base = nullptr;
    int used = 0;
    std::bitset<granules> taken;
    uint16_t length[granules] = {};
};

Chunk chunks[chunkLimit];
int callsUnderWay = 0;

char* MapChunk() noexcept
{
    // One page more than needed, so that the chunk can begin at a large page.
    void* mapping = mmap(nullptr, chunkBytes + largePage, PROT_READ | PROT_WRITE,
                         MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (mapping == MAP_FAILED) {
        return nullptr;
    }
    const auto address = reinterpret_cast<uintptr_t>(mapping);
    const uintptr_t begin = (address + largePage - 1) / largePage * largePage;
    if (begin > address) {
        munmap(mapping, begin - address);
    }
    const uintptr_t end = address + chunkBytes + largePage;
    if (end > begin + chunkBytes) {
        munmap(reinterpret_cast<void*>(begin + chunkBytes), end - begin - chunkBytes);
    }
    auto* base = reinterpret_cast<char*>(begin);
    madvise(base, chunkBytes, MADV_HUGEPAGE);
    return base;
}

void Unmap(Chunk& chunk) noexcept
{
    munmap(chunk.base, chunkBytes);
    chunk.base = nullptr;
}

// The first run of `count` free granules, or -1.
int FindRun(const Chunk& chunk, int count) noexcept
{
    int run = 0;
    for (int i = 0; i < granules; ++i) {
        if (chunk.taken[i]) {
            i += chunk.length[i] - 1;
            run = 0;
        } else if (++run == count) {
            return i - count + 1;
        }
    }
    return -1;
}

// Gives the memory of free granules back while others of the chunk stay in use.
void Trim(Chunk& chunk) noexcept
{
    for (int i = 0; i < granules;) {
        if (chunk.taken[i]) {
            i += chunk.length[i];
            continue;
        }
        const int first = i;
        while (i < granules && !chunk.taken[i]) {
            ++i;
        }
        madvise(chunk.base + first * granule, static_cast<uint64_t>(i - first) * granule,
                MADV_DONTNEED);
    }
}

} // namespace

CallMemory::CallMemory()
{
    const std::lock_guard<std::recursive_mutex> hold(allocLock);
    ++callsUnderWay;
}

CallMemory::~CallMemory()
{
    const std::lock_guard<std::recursive_mutex> hold(allocLock);
    if (--callsUnderWay > 0) {
        return;
    }
    for (Chunk& chunk : chunks) {
        if (chunk.base != nullptr && chunk.used == 0) {
            Unmap(chunk);
        } else if (chunk.base != nullptr) {
            Trim(chunk);
        }
    }
}

void* pool::Take(uint64_t bytes) noexcept
{
    if (!pooled || bytes < granule || bytes > largestBlock) {
        return nullptr;
    }
    const std::lock_guard<std::recursive_mutex> hold(allocLock);
    if (callsUnderWay == 0) {
        return nullptr;
    }
    const int count = static_cast<int>((bytes + granule - 1) / granule);
    for (Chunk& chunk : chunks) {
        if (chunk.base == nullptr) {
            chunk.base = MapChunk();
        }
        if (chunk.base == nullptr) {
            return nullptr;
        }
        const int first = FindRun(chunk, count);
        if (first >= 0) {
            for (int i = first; i < first + count; ++i) {
                chunk.taken[i] = true;
            }
            chunk.length[first] = static_cast<uint16_t>(count);
            ++chunk.used;
            return chunk.base + static_cast<uint64_t>(first) * granule;
        }
    }
    return nullptr;
}

bool pool::Give(void* block) noexcept
{
    const std::lock_guard<std::recursive_mutex> hold(allocLock);
    auto* address = static_cast<char*>(block);
    for (Chunk& chunk : chunks) {
        if (chunk.base == nullptr || address < chunk.base || address >= chunk.base + chunkBytes) {
            continue;
        }
        const auto first = static_cast<int>(static_cast<uint64_t>(address - chunk.base) / granule);
        for (int i = first; i < first + chunk.length[first]; ++i) {
            chunk.taken[i] = false;
        }
        if (--chunk.used == 0 && callsUnderWay == 0) {
            Unmap(chunk);
        }
        return true;
    }
    return false;
}

} // namespace lumo
