#include <settingscore/tree/TreeRoot.hpp>

#include <atomic>

#include <settingscore/host/EventMgr.hpp>

namespace settings::core {

namespace {
std::atomic<int> enabledQueues{0};
}

bool TreeRoot::isAnyAudience() {
    return enabledQueues > 0 || zbutil::eventmgr::createLocalEventMgr()->hasSubscriptions();
}

void TreeRoot::countQueue(bool enabled) { enabledQueues += enabled ? 1 : -1; }

std::string const* TreeRoot::enterName(std::string const& name) {
    auto const entered = names_.insert(name);
    return entered.second ? nullptr : &*entered.first;
}

}  // namespace settings::core
