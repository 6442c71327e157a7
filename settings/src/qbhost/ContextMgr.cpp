#include <algorithm>
#include <cstdint>
#include <exception>
#include <map>
#include <mutex>
#include <tuple>
#include <utility>
#include <vector>

#include <qbhost/QbHost.hpp>
#include <qbhost/Replaceable.hpp>
#include <settingscore/host/ContextMgr.hpp>

namespace zbutil::contextmgr {
namespace {

using ContextPtr = std::shared_ptr<ContextBase>;

/// Runs all of a series of calls, then lets the first of their exceptions go on.
class AllThenThrow {
public:
    template <class Function>
    void call(Function function) {
        try {
            function();
        } catch (...) {
            if (!first_) first_ = std::current_exception();
        }
    }
    void finish() const {
        if (first_) std::rethrow_exception(first_);
    }

private:
    std::exception_ptr first_;
};

/// The registry. Its mutex guards the tables alone: contexts and factories are called without it,
/// so that they may call the registry.
class Registry : public ContextRegistry {
public:
    Registry() { instances_[BlessedZcrID.value()].state = State::Live; }

    std::unique_ptr<FactoryHandle> registerFactory(
        boost::shared_ptr<ContextFactoryBase> factory) override;
    void unregister(std::uint64_t number);

    ZcrID resolveZcrID(ZcrID const& id) const override {
        ZcrID const asked = id == AnyZcrID ? ZcrID(current()) : id;
        std::lock_guard<std::mutex> const lock(mutex_);
        auto const found = instances_.find(asked.value());
        bool const live = found != instances_.end() && found->second.state == State::Live;
        return live ? asked : UndefinedZcrID;
    }

    bool start(ZcrID id);
    bool end(ZcrID id);
    bool makeCurrent(ZcrID id);

private:
    enum class State { Starting, Live, Ending };

    struct Instance {
        State state = State::Starting;
        /// By the numbers of the factories, so in the order of registering. Null while it is made.
        std::map<std::uint64_t, ContextPtr> contexts;
    };

    static std::int64_t& current() {
        thread_local std::int64_t id = BlessedZcrID.value();
        return id;
    }

    void makeMissingContexts(std::int64_t id);
    ContextPtr makeContext(std::int64_t id, ContextFactoryBase& factory, std::uint64_t number);
    std::vector<ContextPtr> contextsOf(std::int64_t id) const;
    void releaseAll(std::int64_t id, AllThenThrow& calls);

    mutable std::mutex mutex_;
    std::map<std::uint64_t, boost::shared_ptr<ContextFactoryBase>> factories_;
    std::uint64_t nextFactory_ = 0;
    std::map<std::int64_t, Instance> instances_;
};

class Handle : public FactoryHandle {
public:
    Handle(Registry& registry, std::uint64_t number) : registry_(registry), number_(number) {}
    ~Handle() override { registry_.unregister(number_); }

private:
    Registry& registry_;
    std::uint64_t number_;
};

Registry& registry() { return qbhost::detail::immortal<Registry>(); }

std::unique_ptr<FactoryHandle> Registry::registerFactory(
    boost::shared_ptr<ContextFactoryBase> factory) {
    std::vector<std::int64_t> started;
    std::unique_ptr<FactoryHandle> handle;
    {
        std::lock_guard<std::mutex> const lock(mutex_);
        std::uint64_t const number = nextFactory_++;
        factories_.emplace(number, std::move(factory));
        for (auto const& [id, instance] : instances_) {
            if (id != BlessedZcrID.value() && instance.state == State::Live) started.push_back(id);
        }
        handle = std::make_unique<Handle>(*this, number);
    }
    for (std::int64_t const id : started)
        makeMissingContexts(id);
    return handle;
}

void Registry::unregister(std::uint64_t number) {
    std::vector<ContextPtr> dropped;  // Destroyed when the mutex is free again.
    boost::shared_ptr<ContextFactoryBase> factory;
    std::lock_guard<std::mutex> const lock(mutex_);
    auto const found = factories_.find(number);
    if (found == factories_.end()) return;
    factory = std::move(found->second);
    factories_.erase(found);
    for (auto& [id, instance] : instances_) {
        auto const context = instance.contexts.find(number);
        if (context == instance.contexts.end()) continue;
        dropped.push_back(std::move(context->second));
        instance.contexts.erase(context);
    }
}

/// Gives the instance the contexts that it lacks. Each is claimed by one thread by an empty entry.
void Registry::makeMissingContexts(std::int64_t id) {
    for (;;) {
        boost::shared_ptr<ContextFactoryBase> factory;
        std::uint64_t number = 0;
        {
            std::lock_guard<std::mutex> const lock(mutex_);
            auto const instance = instances_.find(id);
            if (instance == instances_.end() || instance->second.state == State::Ending) return;
            auto& contexts = instance->second.contexts;
            auto const missing =
                std::find_if(factories_.begin(), factories_.end(),
                             [&](auto const& entry) { return contexts.count(entry.first) == 0; });
            if (missing == factories_.end()) {
                instance->second.state = State::Live;
                return;
            }
            std::tie(number, factory) = *missing;
            contexts.emplace(number, nullptr);
        }
        ContextPtr const context = makeContext(id, *factory, number);
        std::unique_lock<std::mutex> lock(mutex_);
        auto const instance = instances_.find(id);
        bool const wanted = instance != instances_.end() &&
                            instance->second.state != State::Ending &&
                            instance->second.contexts.count(number) != 0;
        if (wanted) {
            instance->second.contexts[number] = context;
        } else {
            // The instance ended, or the factory was forgotten, while the context was made.
            lock.unlock();
            if (context) context->release(true);
        }
    }
}

ContextPtr Registry::makeContext(std::int64_t id, ContextFactoryBase& factory,
                                 std::uint64_t number) {
    try {
        ContextPtr context = factory.create(ZcrID(id));
        if (context) context->init(true);
        return context;
    } catch (...) {
        std::lock_guard<std::mutex> const lock(mutex_);
        auto const instance = instances_.find(id);
        if (instance != instances_.end()) instance->second.contexts.erase(number);
        throw;
    }
}

std::vector<ContextPtr> Registry::contextsOf(std::int64_t id) const {
    std::vector<ContextPtr> result;
    std::lock_guard<std::mutex> const lock(mutex_);
    auto const instance = instances_.find(id);
    if (instance == instances_.end()) return result;
    for (auto const& [number, context] : instance->second.contexts) {
        if (context) result.push_back(context);
    }
    return result;
}

/// Releases the contexts of an instance, the last made first, and forgets them; the instance goes
/// with them unless it is the blessed one.
void Registry::releaseAll(std::int64_t id, AllThenThrow& calls) {
    std::vector<ContextPtr> contexts = contextsOf(id);
    while (!contexts.empty()) {
        calls.call([&] { contexts.back()->release(true); });
        contexts.pop_back();
    }
    Instance gone;  // Destroys the contexts when the mutex is free again.
    std::lock_guard<std::mutex> const lock(mutex_);
    auto const instance = instances_.find(id);
    gone = std::move(instance->second);
    instance->second = Instance{State::Live, {}};
    if (id != BlessedZcrID.value()) instances_.erase(instance);
}

bool Registry::start(ZcrID id) {
    if (!(BlessedZcrID < id)) return false;
    {
        std::lock_guard<std::mutex> const lock(mutex_);
        if (!instances_.emplace(id.value(), Instance{}).second) return false;
    }
    try {
        makeMissingContexts(id.value());
    } catch (...) {
        AllThenThrow ignored;
        releaseAll(id.value(), ignored);
        throw;
    }
    return true;
}

bool Registry::end(ZcrID id) {
    bool const blessed = id == BlessedZcrID;
    if (blessed) makeMissingContexts(id.value());
    AllThenThrow calls;
    if (!blessed && current() == id.value() && resolveZcrID(id) == id)
        calls.call([&] { makeCurrent(BlessedZcrID); });
    {
        std::lock_guard<std::mutex> const lock(mutex_);
        auto const instance = instances_.find(id.value());
        if (instance == instances_.end() || instance->second.state != State::Live) return false;
        if (!blessed) instance->second.state = State::Ending;
    }
    releaseAll(id.value(), calls);
    calls.finish();
    return true;
}

bool Registry::makeCurrent(ZcrID id) {
    if (id < BlessedZcrID || resolveZcrID(id) != id) return false;
    std::int64_t const previous = current();
    if (previous == id.value()) return true;
    // Those of the blessed instance may not be there yet.
    makeMissingContexts(BlessedZcrID.value());
    AllThenThrow calls;
    for (ContextPtr const& context : contextsOf(previous))
        calls.call([&] { context->save(); });
    current() = id.value();
    for (ContextPtr const& context : contextsOf(id.value()))
        calls.call([&] { context->restore(); });
    calls.finish();
    return true;
}

}  // namespace

ContextRegistry& ContextRegistry::getInstance() { return registry(); }

}  // namespace zbutil::contextmgr

namespace qbhost {

bool startInstance(ZcrID id) { return zbutil::contextmgr::registry().start(id); }
bool endInstance(ZcrID id) { return zbutil::contextmgr::registry().end(id); }
bool makeCurrent(ZcrID id) { return zbutil::contextmgr::registry().makeCurrent(id); }

ZcrID currentInstance() {
    return zbutil::contextmgr::registry().resolveZcrID(zbutil::contextmgr::AnyZcrID);
}

}  // namespace qbhost
