#include <qbsettings/text/Near.hpp>

#include <algorithm>
#include <numeric>

#include <qbsettings/text/Text.hpp>
#include <settingscore/value/AsciiCase.hpp>

namespace qbsettings {

std::size_t editDistance(std::string const& a, std::string const& b) {
    using settings::core::detail::foldedAscii;
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < a.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i + 1;
        for (std::size_t j = 0; j < b.size(); ++j) {
            std::size_t const replaced =
                diagonal + (foldedAscii(a[i]) == foldedAscii(b[j]) ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({row[j] + 1, row[j + 1] + 1, replaced});
        }
    }
    return row.back();
}

bool isNear(std::string const& a, std::string const& b, std::size_t& distance) {
    distance = editDistance(a, b);
    std::size_t const length = std::min(a.size(), b.size());
    return distance < length && distance <= std::max<std::size_t>(1, length / 3);
}

std::string suggestion(std::string const& typed, std::vector<std::string> const& words) {
    std::string nearest;
    std::size_t least = 0;
    for (std::string const& word : words) {
        std::size_t distance = 0;
        if (!isNear(word, typed, distance)) continue;
        if (nearest.empty() || distance < least) {
            nearest = word;
            least = distance;
        }
    }
    return nearest.empty() ? std::string() : "; did you mean " + inQuotes(nearest) + "?";
}

}  // namespace qbsettings
