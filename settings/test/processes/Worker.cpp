#include "Worker.hpp"

#include <unistd.h>

#include <chrono>
#include <iterator>
#include <thread>

namespace qbprocesses {

Worker::Worker(Place const& place, int number, std::uint64_t seed, std::unique_ptr<Hand> hand)
    : place_(place),
      number_(number),
      random_(seed),
      hand_(std::move(hand)),
      journal_(place.journal(number)) {}

void Worker::run() {
    while (::access(place_.stop().c_str(), F_OK) != 0)
        step();
}

void Worker::settle() { refresh(); }

template <class Work>
bool Worker::doIt(Values const& assigned, bool isOwn, Work const& work) {
    journal_.begins(assigned);
    try {
        work();
        journal_.ended(Deed::End::done);
        return true;
    } catch (Refusal const& refusal) {
        // Nobody else changes what is this number's own.
        journal_.ended(isOwn ? Deed::End::failed : Deed::End::refused, refusal.what());
    } catch (std::exception const& error) {
        journal_.ended(Deed::End::failed, error.what());
    }
    return false;
}

void Worker::step() {
    static constexpr void (Worker::*operations[])() = {
        &Worker::set,         &Worker::set,         &Worker::set,
        &Worker::set,         &Worker::unset,       &Worker::setCommon,
        &Worker::setCommon,   &Worker::setTogether, &Worker::setCommonTogether,
        &Worker::addOrRemove, &Worker::addOrRemove, &Worker::addOrRemoveShared,
        &Worker::refresh,     &Worker::refresh};
    (this->*operations[below(std::size(operations))])();
    // Others are to come in between, at some times more than at others.
    std::this_thread::sleep_for(std::chrono::microseconds(below(4) == 0 ? below(20000) : 0));
}

std::string Worker::anyOwnGroup() {
    auto const groups = Place::ownGroups(number_);
    return groups[static_cast<std::size_t>(below(static_cast<int>(groups.size())))];
}

void Worker::set() {
    std::string const key = Place::key(anyOwnGroup(), 'k', below(Place::keys));
    int const value = nextValue();
    if (doIt({{key, std::to_string(value)}}, true, [&] { hand_->set(key, value); }))
        held_.insert(key);
}

void Worker::unset() {
    std::string const key = Place::key(anyOwnGroup(), 'k', below(Place::keys));
    if (held_.erase(key) == 0) return;
    doIt({{key, noValue}}, true, [&] { hand_->unset(key); });
}

void Worker::setCommon() {
    std::string const key = Place::key("common", 'c', below(Place::keys));
    if (below(4) == 0) {
        doIt({{key, noValue}}, false, [&] { hand_->unset(key); });
        return;
    }
    int const value = nextValue();
    doIt({{key, std::to_string(value)}}, false, [&] { hand_->set(key, value); });
}

void Worker::setTogether() { setAllTo(anyOwnGroup(), true); }

void Worker::setCommonTogether() { setAllTo("common.batch", false); }

void Worker::setAllTo(std::string const& group, bool isOwn) {
    std::vector<std::string> const keys = Place::batchKeys(group);
    int const value = nextValue();
    Values assigned;
    for (std::string const& key : keys)
        assigned[key] = std::to_string(value);
    doIt(assigned, isOwn, [&] { hand_->setTogether(keys, value); });
}

void Worker::addOrRemove() {
    std::string const node =
        "common.dynamic.w" + std::to_string(number_) + "_" + std::to_string(below(3));
    std::string const key = hand_->keyOf(node);
    if (held_.erase(node) != 0) {
        doIt({{key, noKey}}, true, [&] { hand_->remove(node); });
        return;
    }
    int const value = nextValue();
    if (doIt({{key, std::to_string(value)}}, true, [&] { hand_->add(node, value); }))
        held_.insert(node);
}

void Worker::addOrRemoveShared() {
    std::string const node = "common.dynamic.s" + std::to_string(below(Place::shared));
    std::string const key = hand_->keyOf(node);
    if (below(2) == 0) {
        doIt({{key, noKey}}, false, [&] { hand_->remove(node); });
        return;
    }
    int const value = nextValue();
    doIt({{key, std::to_string(value)}}, false, [&] { hand_->add(node, value); });
}

void Worker::refresh() {
    doIt({}, true, [&] { hand_->refresh(); });
}

}  // namespace qbprocesses
