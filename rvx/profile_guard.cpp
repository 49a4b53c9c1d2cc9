#include "profile_guard.h"

#include "rvx32p.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>

#include <sys/uio.h>
#include <unistd.h>

namespace rvx {
namespace {

// ICC.1:2001-04: a 128-byte header, the tag count, then 12 bytes per tag.
constexpr size_t signatureOffset = 36;
constexpr size_t tagCountOffset = 128;
constexpr size_t tagTableOffset = 132;
constexpr size_t tagEntryBytes = 12;
// Every tag's data starts with its type and four reserved bytes.
constexpr uint32_t minTagBytes = 8;
constexpr uint32_t maxProfileBytes = 64u << 20;
// The engine's own limit; it rejects a longer table.
constexpr uint32_t maxTags = 100;

uint32_t BigEndian32(const uint8_t* at)
{
    return uint32_t{at[0]} << 24 | uint32_t{at[1]} << 16 | uint32_t{at[2]} << 8 | at[3];
}

void StoreBigEndian32(uint32_t value, uint8_t* at)
{
    for (int i = 0; i < 4; ++i) {
        at[i] = static_cast<uint8_t>(value >> (24 - 8 * i));
    }
}

/// Lets the kernel do the reading: it answers EFAULT where a load of our own would end the process.
bool ReadMemory(const uint8_t* address, uint8_t* to, size_t count)
{
    for (size_t done = 0; done < count;) {
        const iovec local{to + done, count - done};
        const iovec remote{const_cast<uint8_t*>(address) + done, count - done};
        const ssize_t got = process_vm_readv(getpid(), &local, 1, &remote, 1, 0);
        if (got <= 0) {
            if (got == 0 || (errno != EPERM && errno != ENOSYS)) {
                return false;
            }
            std::memcpy(to + done, address + done, count - done);
            return true;
        }
        done += static_cast<size_t>(got);
    }
    return true;
}

/// With one tag at least, the size is 144 bytes at least.
bool IsPlausible(const uint8_t* header)
{
    const uint32_t size = BigEndian32(header);
    const uint32_t tags = BigEndian32(header + tagCountOffset);
    return std::memcmp(header + signatureOffset, "acsp", 4) == 0 && size <= maxProfileBytes &&
           tags >= 1 && tags <= maxTags && tagTableOffset + tags * tagEntryBytes <= size;
}

/// The bytes the tags reach to, or 0 when one of them lies outside its place.
uint32_t UsedBytes(const uint8_t* table, uint32_t tags, uint32_t size)
{
    const auto tableEnd = static_cast<uint32_t>(tagTableOffset + tags * tagEntryBytes);
    uint32_t used = tableEnd;
    for (uint32_t i = 0; i < tags; ++i) {
        const uint32_t offset = BigEndian32(table + i * tagEntryBytes + 4);
        const uint32_t bytes = BigEndian32(table + i * tagEntryBytes + 8);
        if (bytes < minTagBytes || offset < tableEnd || offset > size || bytes > size - offset) {
            return 0;
        }
        used = std::max(used, offset + bytes);
    }
    return used;
}

} // namespace

int32_t CopyProfile(const void* address, std::vector<uint8_t>& copy)
{
    if (address == nullptr) {
        return RVX_ERROR_ARGUMENT;
    }
    const auto* bytes = static_cast<const uint8_t*>(address);
    copy.resize(tagTableOffset);
    if (!ReadMemory(bytes, copy.data(), copy.size())) {
        return RVX_ERROR_UNREADABLE;
    }
    if (!IsPlausible(copy.data())) {
        return RVX_ERROR_PROFILE;
    }
    const uint32_t size = BigEndian32(copy.data());
    const uint32_t tags = BigEndian32(copy.data() + tagCountOffset);
    // The parts are read once each and only ever judged in the copy, so a caller that changes them
    // meanwhile cannot slip anything past the checks.
    copy.resize(tagTableOffset + tags * tagEntryBytes);
    const size_t tableEnd = copy.size();
    if (!ReadMemory(bytes + tagTableOffset, copy.data() + tagTableOffset,
                    tableEnd - tagTableOffset)) {
        return RVX_ERROR_UNREADABLE;
    }
    const uint32_t used = UsedBytes(copy.data() + tagTableOffset, tags, size);
    if (used == 0) {
        return RVX_ERROR_PROFILE;
    }
    copy.resize(used);
    if (!ReadMemory(bytes + tableEnd, copy.data() + tableEnd, used - tableEnd)) {
        return RVX_ERROR_UNREADABLE;
    }
    StoreBigEndian32(used, copy.data());
    return RVX_OK;
}

} // namespace rvx
