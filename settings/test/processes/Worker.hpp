#pragma once

#include <memory>
#include <random>
#include <set>
#include <string>

#include "Hand.hpp"
#include "Journal.hpp"
#include "Place.hpp"

namespace qbprocesses {

/// One number at work: operations chosen at random, each told to the journal before and after.
class Worker {
public:
    Worker(Place const& place, int number, std::uint64_t seed, std::unique_ptr<Hand> hand);

    /// Until the processes are to come to their end.
    void run();
    /// A last refresh.
    void settle();

private:
    /// False if the operation did not happen.
    template <class Work>
    bool doIt(Values const& assigned, bool isOwn, Work const& work);
    void step();
    void set();
    void unset();
    void setCommon();
    void setTogether();
    void setCommonTogether();
    void addOrRemove();
    void addOrRemoveShared();
    void refresh();

    int below(int bound) { return static_cast<int>(random_() % static_cast<unsigned>(bound)); }
    std::string anyOwnGroup();
    /// One that nobody else ever sets, anywhere.
    int nextValue() { return (number_ + 1) * 1000000 + ++values_; }
    void setAllTo(std::string const& group, bool isOwn);

    Place const place_;
    int const number_;
    std::mt19937_64 random_;
    std::unique_ptr<Hand> const hand_;
    Journal journal_;
    int values_ = 0;
    /// Own keys and nodes that are set, or there.
    std::set<std::string> held_;
};

}  // namespace qbprocesses
