// Whether the work on one key stays what it is while products grow.

#include "Sizes.hpp"
#include "Table.hpp"

namespace qbbench {

namespace {

struct Work {
    std::string work;
    std::string benchmark;
};

}  // namespace

void addGrowth(Table& table) {
    Work const works[] = {{"getAny", "getAny"},
                          {"read by full name", "getAnyByFullNameOfMany"},
                          {"set, value changed", "setChanged"},
                          {"set with a listener", "setHeard"},
                          {"set of an equal value", "setEqual"},
                          {"set that reaches the file, for each key in it", "setSaved"},
                          {"first use, for each key", "firstUse"},
                          {"memory of a key", "keyMemory"}};
    // What is flat in theory is not so to the digit: caches and the depth of maps count as well.
    double const flat = 1.5;
    for (auto const& [work, benchmark] : works) {
        for (int const keys : sizes) {
            if (keys == 100) continue;
            table.add({work + ", product of " + std::to_string(keys) + " keys", "product of 100",
                       benchmark + "/" + std::to_string(keys), benchmark + "/100", flat});
        }
    }
}

}  // namespace qbbench
