#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include <settingscore/tree/SettingsEvent.hpp>
#include <settingscore/typed/Key.hpp>
#include <settingscore/typed/LiveState.hpp>

namespace settingscore::typed {

/// What a `Live` has at the moment.
enum class LiveStatus {
    value,    ///< A value.
    noValue,  ///< The key is there and has none.
    removed,  ///< The key is gone from its tree, or its instance has let the tree go.
};

/// The value in force of a key, for a loop that reads it again and again:
///
///     Live<double> const lineWidth(Key<double>("plotter.lineWidth"));
///     for (Line const& line : lines) draw(line, lineWidth.get());
///
/// It follows the key by a listener. A read of a number, a bool or an enum is a few loads of
/// atomics; one of another type hands out a counted pointer to the value. Neither takes a lock of
/// the tree.
///
/// A read never gives a value that is older than the last change which its own thread saw done: one
/// whose call has returned, on this thread or on one that told this one. During a change, a
/// listener that is called before this one's may still read the value before it. A key with a
/// computed default is read through to the tree each time.
///
/// As long as one lives, changes of values in its process make their events. Made, read and
/// destroyed by any thread, also by a listener; the object itself is moved by one thread alone.
template <class T>
class Live {
    using State = detail::LiveState<T>;

public:
    /// T for numbers, bool and enums, `std::shared_ptr<T const>`, never null, for all others.
    using Reading = typename State::Reading;

    /// Finds the key and loads its product.
    /// @throws MissingKey, WrongType, and what a first use of a product throws
    explicit Live(Key<T> const& key) {
        detail::KeyName const& name = key.place().name();
        detail::Node const group = key.place().group();
        detail::Node const node = group->getChild(name.leaf());
        if (!node) name.fail(name.root());
        auto const state = std::make_shared<State>(name, group, node);
        using settings::core::SettingsValueChangeEvent;
        // Before the first look: no change comes between the two.
        connection_ = node->addListener<SettingsValueChangeEvent>(
            [state](SettingsValueChangeEvent const&) { state->follow(); });
        if (!connection_) name.fail(name.root());
        state->follow();
        state_ = state;
    }
    /// The same for a name.
    explicit Live(std::string fullName,
                  settings::core::ZcrID const& id = settings::core::BlessedZcrID)
        : Live(Key<T>(std::move(fullName), id)) {}

    /// The value in force.
    /// @throws MissingKey for a key that is gone, also if one of the same name came; NoValue if
    /// there
    ///         is none, unless T is an optional; WrongType and NotInTable if a key of any type got
    ///         another value; the errors of a runtime default
    Reading get() const { return state_->read(); }

    /// Looks into the tree what `get` would do.
    LiveStatus status() const {
        try {
            std::optional<T> const value = state_->refresh();
            if (!value) return LiveStatus::removed;
            if constexpr (detail::isOptional<T>) {
                if (!*value) return LiveStatus::noValue;
            }
            return LiveStatus::value;
        } catch (NoValue const&) {
            return LiveStatus::noValue;
        }
    }

private:
    std::shared_ptr<State const> state_;
    Connection connection_;
};

}  // namespace settingscore::typed
