#pragma once

#include <boost/any.hpp>
#include <boost/mpl/void.hpp>
#include <boost/shared_ptr.hpp>

namespace settings::core {

class SettingsImpl;
}

namespace settings::core::detail {

class HeldLock;

/// Runs the validator that applies to a key: applied to the key's own validator it goes up the
/// chain of parents to the nearest one. Only that one runs, and it gets the key's parent and name,
/// however far up it was found. Where the chain ends, it goes on once at `parent`, the node under
/// which the key, or the branch that holds it, is about to be attached.
///
/// The tree is read without locking: the caller holds the lock, and `lock` outlives the visitor.
/// All of it looks into nodes: in tree/RulesOfNodes.cpp.
class ValidationVisitor {
public:
    using result_type = void;

    ValidationVisitor(HeldLock const& lock, boost::shared_ptr<SettingsImpl const> parent,
                      boost::shared_ptr<SettingsImpl const> const& key, boost::any const& value);

    void operator()(boost::mpl::void_ const&);
    /// V is one of the three validators.
    template <class V>
    void operator()(V const& validator) const;

private:
    HeldLock const& lock_;
    boost::shared_ptr<SettingsImpl const> current_;
    boost::shared_ptr<SettingsImpl const> key_;
    boost::shared_ptr<SettingsImpl const> fallback_;
    boost::any value_;
};

}  // namespace settings::core::detail
