#include <settingscore/tree/LoadOnce.hpp>

#include <settingscore/host/ScopeGuard.hpp>
#include <settingscore/rules/WaitGraph.hpp>

namespace settings::core::detail {

void LoadOnce::run(boost::function<void()> const& load) {
    if (isDone()) return;
    WaitGraph& graph = WaitGraph::instance();
    if (!graph.take(this, [this] { return isDone(); })) return;
    qf::util::scope_guard const release([&] { graph.release(this); });
    load();
    spend();
}

bool LoadOnce::isRunningHere() const { return WaitGraph::instance().isHeldHere(this); }

}  // namespace settings::core::detail
