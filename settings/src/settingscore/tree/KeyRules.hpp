#pragma once

#include <atomic>
#include <iosfwd>
#include <map>
#include <memory>
#include <string>
#include <tuple>

#include <boost/any.hpp>
#include <boost/optional.hpp>
#include <boost/shared_ptr.hpp>
#include <settingscore/rules/ValueArraySizeValidator.hpp>
#include <settingscore/tree/TreeLock.hpp>

namespace settings::core {

class SettingsImpl;

namespace detail {

/// Writes a key's values, in the key's own type, as they stand on a level.
using ValueWriterFcn = void (*)(HeldLock const&, std::ostream&,
                                boost::shared_ptr<SettingsImpl const> const&,
                                std::string const& level, unsigned long depth);
/// Checks a value against the key's type; may convert it in place.
using ValueTypeChecker = void (*)(boost::any&);

/// What a key settles once about its values: by its definition, or by its first value.
struct SettledRules {
    boost::optional<ValueTypeChecker> typeChecker;
    boost::optional<ValueArraySizeValidator> sizes;
    boost::optional<ValueWriterFcn> writer;
    boost::optional<unsigned long> typeIndex;

    bool isComplete() const { return typeChecker && sizes && writer && typeIndex; }
};

class RulesPool;

/// The settled rules of one key. Keys that settled the same share them (copy on write).
///
/// A first value fills them under shared locks of the tree, from operations that are const. So they
/// are guarded by a mutex of their own (one for all keys) until all four are there, which a flag
/// says; from then on they are read without it. It is the innermost of all locks: nothing is
/// locked and nothing is called under it.
class KeyRules {
public:
    KeyRules() = default;
    KeyRules(KeyRules const& other);
    KeyRules& operator=(KeyRules const& other) = delete;

    SettledRules copy() const;
    boost::optional<ValueArraySizeValidator> sizes() const;
    /// Null if there is none yet.
    ValueWriterFcn writer() const;
    boost::optional<unsigned long> typeIndex() const;
    /// A value can be of another type than the key.
    bool isTyped() const;

    /// The rules, with what `key` still lacks taken from `value`. From then on they are changed by
    /// nobody but the operations below.
    SettledRules const& settle(boost::any const& value, SettingsImpl const& key) const;

    /// @{
    /// For keys that no other thread can reach, or under exclusive access to the tree.
    void takeOver(KeyRules const& other);
    void setTypeChecker(ValueTypeChecker checker);
    void setSizes(ValueArraySizeValidator const& bounds);
    void setWriter(ValueWriterFcn function);
    void setTypeIndex(unsigned long index);
    /// The size rule no longer names the key that it was made for.
    void forgetKey();
    /// Shares complete rules that name no key with those of the pool that are the same.
    void shareThrough(RulesPool& pool);
    /// @}

private:
    using Shared = std::shared_ptr<SettledRules>;
    template <class Read>
    auto read(Read const& read) const;
    template <class Change>
    void change(Change const& change) const;

    mutable Shared rules_;  ///< Null while nothing is settled.
    mutable std::atomic<bool> isComplete_{false};
};

/// The rules that the keys of one product share.
class RulesPool {
public:
    using Shared = std::shared_ptr<SettledRules>;
    /// The pool's own of the same rules; the given ones if they are new to it.
    Shared const& sameAs(Shared const& rules);

private:
    using Key =
        std::tuple<ValueTypeChecker, ValueWriterFcn, unsigned long, unsigned long, unsigned long>;
    std::map<Key, Shared> known_;
};

}  // namespace detail
}  // namespace settings::core
