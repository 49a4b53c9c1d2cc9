#include "command/suggestion.h"

#include <algorithm>

namespace qva {

std::size_t EditDistance(const std::string& first, const std::string& second)
{
    // Row i holds the distances from the first i letters; two rows back for swapped neighbours.
    std::vector<std::vector<std::size_t>> rows(first.size() + 1,
                                               std::vector<std::size_t>(second.size() + 1));
    for (std::size_t i = 0; i <= first.size(); ++i) {
        for (std::size_t j = 0; j <= second.size(); ++j) {
            if (i == 0 || j == 0) {
                rows[i][j] = i + j;
                continue;
            }
            const std::size_t change = first[i - 1] == second[j - 1] ? 0 : 1;
            rows[i][j] =
                std::min({rows[i - 1][j] + 1, rows[i][j - 1] + 1, rows[i - 1][j - 1] + change});
            if (i > 1 && j > 1 && first[i - 1] == second[j - 2] && first[i - 2] == second[j - 1]) {
                rows[i][j] = std::min(rows[i][j], rows[i - 2][j - 2] + 1);
            }
        }
    }
    return rows[first.size()][second.size()];
}

std::string NearestOf(const std::string& word, const std::vector<std::string>& known)
{
    constexpr std::size_t most = 2;
    std::string nearest;
    std::size_t least = most + 1;
    for (const std::string& candidate : known) {
        // A length far off needs no look; what is typed may be of any length.
        const std::size_t longer = std::max(word.size(), candidate.size());
        const std::size_t shorter = std::min(word.size(), candidate.size());
        if (longer - shorter > most) {
            continue;
        }
        const std::size_t distance = EditDistance(word, candidate);
        if (distance < least && 2 * distance < word.size()) {
            least = distance;
            nearest = candidate;
        }
    }
    return nearest;
}

} // namespace qva
