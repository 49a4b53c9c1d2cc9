// Takes an ICC profile from an address of unknown reach, believing nothing it says.
#pragma once

#include <cstdint>
#include <vector>

namespace rvx {

/// Copies the profile at `address` as far as its tags need, after checking its header and tag
/// table (ICC.1:2001-04, clauses 6.1 and 6.2). The copy's size field states the copy's length, so
/// an over-stated size does no harm later. Memory that is not mapped is an error, no fault, where
/// the system permits process_vm_readv.
/// @param address  of the profile's first byte; may be null or wild.
/// @param copy     receives the bytes; its content is of no use on failure.
/// @return RVX_OK, RVX_ERROR_ARGUMENT for null, RVX_ERROR_UNREADABLE or RVX_ERROR_PROFILE.
int32_t CopyProfile(const void* address, std::vector<uint8_t>& copy);

} // namespace rvx
