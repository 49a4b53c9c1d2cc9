#include "core/allocation.h"

#include "core/block_pool.h"

#include <cstdlib>
#include <limits>
#include <new>
#include <sys/mman.h>

namespace lumo {

std::recursive_mutex allocLock;

namespace {

constexpr uint64_t smallAlignment = 64;
constexpr uint64_t largePage = uint64_t{2} << 20;
constexpr uint64_t largeBlock = 2 * largePage;

} // namespace

void EnsureDataSize(uint64_t bytes)
{
    if (bytes > maxDataSize) {
        throw Exception(exceptionSize, "Error in EnsureDataSize, data size is too large.");
    }
}

uint64_t SaturatingProduct(uint64_t a, uint64_t b, uint64_t c)
{
    uint64_t product = 0;
    if (__builtin_mul_overflow(a, b, &product) || __builtin_mul_overflow(product, c, &product)) {
        return std::numeric_limits<uint64_t>::max();
    }
    return product;
}

void* Alloc(uint64_t bytes)
{
    EnsureDataSize(bytes);
    if (bytes == 0) {
        return nullptr;
    }
    const std::lock_guard<std::recursive_mutex> hold(allocLock);
    void* block = std::malloc(bytes);
    if (block == nullptr) {
        throw Exception(exceptionResource, "Error in Alloc, malloc failed");
    }
    return block;
}

void* AllocAligned(uint64_t bytes)
{
    EnsureDataSize(bytes);
    if (bytes == 0) {
        return nullptr;
    }
    const std::lock_guard<std::recursive_mutex> hold(allocLock);
    if (void* pooled = pool::Take(bytes)) {
        return pooled;
    }
    const bool large = bytes >= largeBlock;
    void* block = nullptr;
    if (posix_memalign(&block, large ? largePage : smallAlignment, bytes) != 0) {
        throw Exception(exceptionResource, "Error in AllocAligned");
    }
    if (large) {
        // Advice only: where the kernel declines, the block works on small pages.
        madvise(block, bytes / largePage * largePage, MADV_HUGEPAGE);
    }
    return block;
}

void Free(void* block) noexcept
{
    const std::lock_guard<std::recursive_mutex> hold(allocLock);
    std::free(block);
}

void FreeAligned(void* block) noexcept
{
    const std::lock_guard<std::recursive_mutex> hold(allocLock);
    if (!pool::Give(block)) {
        std::free(block);
    }
}

void* AllocArray(uint64_t bytes)
{
    if (bytes > maxDataSize) {
        throw std::bad_alloc();
    }
    const std::lock_guard<std::recursive_mutex> hold(allocLock);
    if (void* pooled = pool::Take(bytes)) {
        return pooled;
    }
    return ::operator new (bytes, std::align_val_t{smallAlignment});
}

void FreeArray(void* block) noexcept
{
    const std::lock_guard<std::recursive_mutex> hold(allocLock);
    if (!pool::Give(block)) {
        ::operator delete (block, std::align_val_t{smallAlignment});
    }
}

} // namespace lumo
