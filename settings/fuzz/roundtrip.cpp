// What is read from a file, and can be saved, is the same when the saved file is read.
// Input: the text of a file and, behind a NUL, that of "also.settings" beside it, which the first
// can name as an additional path.

#include <support/TempFolder.hpp>

#include "Fuzzing.hpp"
#include "Trees.hpp"

void qbfuzz::fuzz(std::string const& input) {
    auto const texts = pieces(input, 2);
    qbtest::writeFile(folder() / "also.settings", texts[1]);
    NodePtr const first = load(folder() / "first.settings", texts[0]);
    std::string saved;
    if (!first || !isSaved(first, saved)) return;
    NodePtr const second = load(folder() / "second.settings", saved);
    require(second != nullptr, "what a durable save writes can be loaded", saved);
    requireSame(first, second, saved);
}
