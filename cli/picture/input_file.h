// What may be read: regular files of a size that fits what they promise.
#pragma once

#include "picture/source_description.h"

#include <cstdint>
#include <string>

namespace qva {

/// Asks before opening: a pipe without a writer would be waited for.
/// @return the bytes of the file.
/// @throws Failure where there is none, or it is something but a regular file.
std::uint64_t SizeOfRegularFile(const std::string& path);

/// Refuses pictures of more pixels than any honest file of so many bytes holds: 65536 a byte, and
/// where that is known, as many bytes of samples as the compression can make of one byte.
/// @param sampleBytes  of all pixels, 0 where they are not known.
/// @param expansion    the most that the compression makes of a byte, 0 where that is not known.
/// @throws Failure.
void CheckPromise(const std::string& path, ImageSize size, std::uint64_t sampleBytes = 0,
                  std::uint64_t expansion = 0);

/// @param what  takes the memory: "a strip".
/// @throws Failure for more than this machine has.
void CheckMemory(const std::string& path, const char* what, std::uint64_t bytes);

} // namespace qva
