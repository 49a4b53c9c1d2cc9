// What somebody who mistyped a word may have meant.
#pragma once

#include <string>
#include <vector>

namespace qva {

/// Letters that must be added, left out, changed or swapped with their neighbour to make one word
/// of the other.
std::size_t EditDistance(const std::string& first, const std::string& second);

/// @return the known word nearest to a mistyped one; "" where none is near: at most two letters
///         off, and less than half of the word.
std::string NearestOf(const std::string& word, const std::vector<std::string>& known);

} // namespace qva
