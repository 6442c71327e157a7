#pragma once

#include <cstddef>
#include <exception>
#include <vector>

#include <boost/any.hpp>
#include <boost/shared_ptr.hpp>
#include <settingscore/tree/NodeEvents.hpp>
#include <settingscore/tree/PathHash.hpp>
#include <settingscore/tree/SettingsImpl.hpp>

namespace settings::core::detail {

/// Brings into a product what a private copy of it, loaded anew, has on one level: values, nodes
/// that came, nodes that went. What was changed in the product since both were last the same stays;
/// so do nodes that hold something on another level.
///
/// First `plan`, under upgrade, which changes nothing; then `carryOut`, under exclusive access;
/// then, under upgrade again, `fire`. Nothing may change the product in between.
class LevelAdoption {
public:
    /// Knows what was changed in the product since it last agreed with its file.
    class Changes {
    public:
        virtual ~Changes() = default;
        /// For a node that is there: it came since, or is not as it was.
        virtual bool isChanged(SettingsImpl const& node, PathHash path) const = 0;
        /// For a place where no node is: one was there, and was removed since.
        virtual bool isRemoved(PathHash path) const = 0;
    };
    /// Nodes that are about to be changed, and are not removed.
    using Kept = std::vector<SettingsImpl const*>;
    /// A node that is another than before; null if it went.
    struct Adopted {
        PathHash path;
        SettingsImpl const* node;
    };

    LevelAdoption(HeldLock const& lock, SettingsLevel const& level, Changes const& changes,
                  Kept const& kept)
        : lock_(lock), level_(level), changes_(changes), kept_(kept) {}

    /// `copy` is used up when the plan is carried out.
    void plan(SettingsImpl& product, SettingsImpl const& copy);
    void carryOut(HeldLock const& exclusive);
    /// Tells listeners and the queue, in the order of the walk.
    /// @throws what a listener threw first, after all were told
    void fire() const;

    /// True if nothing would be lost with the product that is not in its file.
    bool canGo(SettingsImpl const& product) const { return canGo(product, productPath); }
    /// True if no node comes or goes, and all values that come pass the checks of a load for keys
    /// that the factory defines: then the plan is the same whether the copy was made of all files
    /// of the product or of the one of this level alone.
    bool isOfCheckedValuesAlone() const;
    bool isEmpty() const { return steps_.empty(); }
    /// Number of the nodes that have changed, came or went.
    std::size_t count() const { return adopted_.size(); }
    std::vector<Adopted> const& adopted() const { return adopted_; }

private:
    using NodePtr = boost::shared_ptr<SettingsImpl>;
    struct Step {
        enum class Kind { change, add, remove } kind;
        NodePtr parent;  ///< Of a node that comes or goes.
        NodePtr node;
        SettingsImpl const* source;  ///< What a node takes over.
        PathHash path;
        boost::any before;  ///< The value in force.
    };

    void compare(SettingsImpl& node, SettingsImpl const& copy, PathHash path);
    void add(SettingsImpl& parent, NodePtr const& copy, PathHash path);
    /// For a node that the level no longer has. True if it goes.
    bool leave(SettingsImpl& node, PathHash path);
    bool canGo(SettingsImpl const& node, PathHash path) const;
    bool isOfAnotherKind(SettingsImpl const& node, SettingsImpl const& copy) const;
    bool differs(SettingsImpl const& node, SettingsImpl const& copy) const;
    void change(SettingsImpl& node, SettingsImpl const* copy, PathHash path);
    void noteAll(SettingsImpl const& top, PathHash path, bool isThere);
    void noteEventsOf(NodePtr const& top, GatheredEvents& events) const;

    HeldLock lock_;
    SettingsLevel const& level_;
    Changes const& changes_;
    Kept const& kept_;
    std::vector<Step> steps_;
    std::vector<Adopted> adopted_;
};

}  // namespace settings::core::detail
