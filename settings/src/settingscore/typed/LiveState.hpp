#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>

#include <boost/any.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/thread/lock_types.hpp>
#include <boost/weak_ptr.hpp>
#include <settingscore/rules/RunTimeDefault.hpp>
#include <settingscore/tree/KeyDescription.hpp>
#include <settingscore/tree/Settings.hpp>
#include <settingscore/tree/StructureVersion.hpp>
#include <settingscore/typed/Errors.hpp>
#include <settingscore/typed/Form.hpp>
#include <settingscore/typed/KeyPlace.hpp>

namespace settingscore::typed::detail {

/// Holds a value that one thread replaces while others read it.
template <class T, class = void>
class Slot {
public:
    using Reading = std::shared_ptr<T const>;
    void store(T value) {
        std::atomic_store(&value_, Reading(std::make_shared<T>(std::move(value))));
    }
    Reading load() const { return std::atomic_load(&value_); }
    static Reading readingOf(T value) { return std::make_shared<T>(std::move(value)); }

private:
    Reading value_;
};

template <class T>
class Slot<T, std::enable_if_t<std::is_arithmetic_v<T> || std::is_enum_v<T>>> {
public:
    using Reading = T;
    void store(T value) { value_.store(value, std::memory_order_release); }
    Reading load() const { return value_.load(std::memory_order_acquire); }
    static Reading readingOf(T value) { return value; }

private:
    static_assert(std::atomic<T>::is_always_lock_free);
    std::atomic<T> value_{};
};

/// What a `Live` and its listener share, so that either can go first.
///
/// The slot counts while `good_` is the version of the tree's structure. It is filled where no
/// change of a value can come between the look into the tree and the store: under the tree lock,
/// shared or for upgrade, since a change is made under exclusive access. So all that fill it
/// between two changes fill in the same value, and none that is older.
template <class T>
class LiveState {
public:
    using Reading = typename Slot<T>::Reading;

    LiveState(KeyName name, Node group, Node key)
        : name_(std::move(name)),
          group_(std::move(group)),
          key_(std::move(key)),
          id_(key_->getZcrID()),
          root_(rootAbove(group_)) {}

    /// The value in force. @throws as `Live::get`
    Reading read() const {
        if (good_.load(std::memory_order_acquire) == structure_.load(std::memory_order_acquire))
            return slot_.load();
        std::optional<T> value = refresh();
        if (!value) {
            throw MissingKey(key_, name_.full(),
                             "the key was removed, or its instance has let its tree go.");
        }
        return Slot<T>::readingOf(std::move(*value));
    }

    /// Looks into the tree, and fills the slot if it may count. None if the key is gone.
    /// @throws as `Live::get`, but for MissingKey
    std::optional<T> refresh() const {
        // Before the look: what goes away during it is noticed at the next read.
        std::uint64_t const version = structure_;
        // Before the tree lock, since it can make a root.
        bool const isRootInUse = hasRoot();
        boost::shared_lock<boost::shared_mutex> const lock(
            *settings::core::Settings::getTheRootMutex());
        good_.store(0, std::memory_order_release);
        if (!isRootInUse || !key_->isConnectedToTheSettingsTree()) return std::nullopt;
        T value = fromAny<T>(group_->getAny(name_.leaf(), std::string()), name_.full());
        // What a function computes changes without an event. So it may when a stored value gives
        // way to a computed one that is the same at that moment.
        if (isVoidRuntimeDefault(settings::core::describeKey(key_).runTimeDefault)) {
            slot_.store(value);
            good_.store(version, std::memory_order_release);
        }
        return value;
    }

    /// What the listener does. Nothing may come out of it: it would reach who made the change.
    void follow() const noexcept {
        try {
            refresh();
        } catch (...) {
            // The next read looks by itself and meets the same.
            good_.store(0, std::memory_order_release);
        }
    }

private:
    static Node rootAbove(Node node) {
        while (node && !node->isRoot())
            node = node->getParent();
        return node;
    }
    bool hasRoot() const {
        Node const own = root_.lock();
        return own && own == settings::core::Settings::getSettingsRoot(id_);
    }

    KeyName name_;
    Node group_;
    Node key_;
    ZcrID id_;
    boost::weak_ptr<settings::core::Settings> root_;
    std::atomic<std::uint64_t> const& structure_ = settings::core::structureVersion();
    mutable Slot<T> slot_;
    mutable std::atomic<std::uint64_t> good_{0};
};

}  // namespace settingscore::typed::detail
