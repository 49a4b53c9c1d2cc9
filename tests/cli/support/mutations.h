// Files changed in one place, and what they are tried with.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace qva::samples {

using Attempt = std::function<void(const std::string&)>;

/// How many places a sweep goes on at once behind the first 256: 1 for all of them, and then in
/// every way. LUMO_SWEEP_STRIDE; 61 where it is not set.
std::size_t SweepStride();

/// Cuts a file short at every place, and turns every bit over.
/// @return how many files were tried.
long CutAndTurnOver(const std::string& whole, std::size_t stride, const Attempt& attempt);

/// Writes numbers that counts, sizes and places are seldom over every place: the least, the largest
/// and those at the signs' borders, of two and four bytes in both orders.
/// @return how many files were tried.
long WriteNumbers(const std::string& whole, std::size_t stride, const Attempt& attempt);

/// @return the file with a number of four bytes written over a place.
std::string WithNumber(std::string bytes, std::size_t place, std::uint32_t value, bool isLittle);

/// Makes checksums right that a format holds against its own bytes (PNG), so that what they guard
/// is looked at. A format with checksums has a line here.
std::string WithChecksums(std::string bytes);

} // namespace qva::samples
