#pragma once

#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "Journal.hpp"
#include "Round.hpp"

namespace qbprocesses {

/// Holds what a round left in the files against what its processes said that they had done.
class Checker {
public:
    Checker(Place const& place, Options const& options, std::set<int> const& killed);

    /// What was lost, or came from nowhere; a line each.
    std::vector<std::string> run();
    /// How many operations were said to be done.
    std::size_t done() const { return done_; }

private:
    void readFiles();
    void checkFolder();
    void checkOwn(int number);
    void checkCommon();
    void checkTogether(std::string const& group);
    void checkState(int number);
    std::string const& inFiles(std::string const& key) const;
    void lost(std::string const& what) { lost_.push_back(what); }

    Place const place_;
    Options const options_;
    std::set<int> const killed_;
    std::vector<std::vector<Deed>> deeds_;  ///< By number.
    Values values_;                         ///< What the files say.
    std::vector<std::string> lost_;
    std::size_t done_ = 0;
};

}  // namespace qbprocesses
