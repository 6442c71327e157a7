// The two readers of settings files, on the same bytes: the plain one gives up, or makes of them
// what the validating one makes.
// Input: the text of a file.

#include <support/BothReaders.hpp>

#include "Fuzzing.hpp"

namespace qbfuzz {

void fuzz(std::string const& input) {
    qbtest::Reading const plain = qbtest::readPlainly(input);
    if (!plain.isDone) return;
    qbtest::Reading const full = qbtest::readValidating(input);
    require(full.isDone, "what is read as plain is good", full.text + "\n" + input);
    require(plain.text == full.text, "both make the same of a file",
            plain.text + "\n" + full.text + "\n" + input);
}

}  // namespace qbfuzz
