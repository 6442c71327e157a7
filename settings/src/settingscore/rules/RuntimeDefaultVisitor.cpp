#include <settingscore/rules/RuntimeDefaultVisitor.hpp>

namespace settings::core::detail {

namespace {

thread_local RunningDefault const* innermost = nullptr;

}  // namespace

RunningDefault::RunningDefault(void const* which) : which_(which), outer_(innermost) {
    innermost = this;
}

RunningDefault::~RunningDefault() { innermost = outer_; }

bool RunningDefault::contains(void const* which) {
    RunningDefault const* running = innermost;
    while (running && running->which_ != which)
        running = running->outer_;
    return running != nullptr;
}

}  // namespace settings::core::detail
