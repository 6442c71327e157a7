#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "Place.hpp"

namespace qbprocesses {

/// What one number did, in the order in which it did it.
struct Deed {
    enum class End { done, refused, failed, none };
    Values assigned;      ///< What each key is to have; `noKey` for one that is removed.
    End end = End::none;  ///< None if the process was killed meanwhile.
    std::string reason;
};

/// The log beside a process: what it is about to do, and then what became of it. Each line is one
/// write to the end of the file, so that a kill leaves what was said before.
class Journal {
public:
    explicit Journal(std::filesystem::path const& file);
    ~Journal();
    Journal(Journal const&) = delete;
    Journal& operator=(Journal const&) = delete;

    void begins(Values const& assigned);
    void ended(Deed::End end, std::string const& reason = {});

    static std::vector<Deed> read(std::filesystem::path const& file);

private:
    void write(std::string const& line) const;

    int const descriptor_;
};

/// One "NAME VALUE" a line.
void writeValues(std::filesystem::path const& file, Values const& values);
Values readValues(std::filesystem::path const& file);

}  // namespace qbprocesses
