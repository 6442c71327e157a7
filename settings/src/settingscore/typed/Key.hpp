#pragma once

#include <memory>
#include <string>
#include <type_traits>
#include <utility>

#include <boost/any.hpp>
#include <settingscore/tree/SettingsEvent.hpp>
#include <settingscore/typed/Batch.hpp>
#include <settingscore/typed/Fits.hpp>
#include <settingscore/typed/Form.hpp>
#include <settingscore/typed/KeyPlace.hpp>
#include <settingscore/typed/Level.hpp>

namespace settingscore::typed {

/// A subscription, see `Key::onChange`; destroying it ends it.
using Connection = std::unique_ptr<corebus::msg_svc::eventmgr::Connection>;

/// A key by its full name and its C++ type, for any thread and for as long as one likes:
///
///     Key<double> const lineWidth("plotter.lineWidth");
///     double const width = lineWidth.get();
///     lineWidth.set(width + 0.15);
///
/// T is one of the types of settings: `bool`, an integer, `float`, `double`, `std::string` (UTF-8);
/// an enum with a table (see `Choice`); a `std::vector` of one of these, for a key of arrays; or a
/// `std::optional` around any of them, for a key that may have no value. `std::int64_t`,
/// `std::uint64_t` and `std::size_t` stand for the types "int64" and "uint64" on every platform.
///
/// Making one looks at nothing. The first use finds the key, loads its product, and compares the
/// types; a use after that costs what the library's own operation costs. A key that is removed is
/// looked for anew, as is one whose instance got another tree. What the operations of
/// `settings::core::Settings` throw comes out of these as well; beside it:
///
/// - `MissingKey` if there is no such key (or product, or instance),
/// - `WrongType` if it is of another type than T,
/// - `NotInTable` for an enum.
template <class T>
class Key {
    using Form = detail::Form<T>;

public:
    /// What is set: T, or what T is an optional of.
    using Value = typename Form::Value;

    /// Names a key of an instance. With `AnyZcrID` it is that of the instance which the calling
    /// thread acts on, and looked for at each use.
    explicit Key(std::string fullName,
                 settings::core::ZcrID const& id = settings::core::BlessedZcrID)
        : place_(std::move(fullName), id, boostany::ValueTraits<typename Form::Stored>::index) {}

    /// The full name: that of the product, of the groups, and the key's own, with dots between
    /// them.
    std::string const& name() const { return place_.name().full(); }
    /// The instance.
    settings::core::ZcrID const& instance() const { return place_.name().instance(); }

    /// The value in force. @throws NoValue if there is none, unless T is an optional
    T get() const { return read(inForce()); }
    /// The value on one level. @throws NoValue if there is none, unless T is an optional
    T getAt(Level level) const { return read(nameOf(level)); }

    /// True if there is a value in force, whichever level it comes from.
    bool isSet() const { return !readAny(inForce()).empty(); }
    /// True if the level has a value, or a default that is computed for it.
    bool isSet(Level level) const { return !readAny(nameOf(level)).empty(); }

    /// Checks the value, stores it on the level, tells listeners and saves: `Settings::setAny`.
    void set(Value const& value, Level level = Level::user) const {
        Node const group = place_.group();
        group->setAny(place_.name().leaf(), boost::any(Form::store(value, name())), nameOf(level));
    }
    /// The same for a number of another type than the key's. What would lose something is no
    /// program (a fraction for an integer) or refused (a number that is too large).
    /// @throws DoesNotFit
    template <class Given, class = std::enable_if_t<detail::isNumberFor<Value, Given>>>
    void set(Given value, Level level = Level::user) const {
        set(detail::fitted<Value>(value, name()), level);
    }

    /// Removes the value from the level, so that the one below it is in force again. Does nothing
    /// if there is none.
    void reset(Level level = Level::user) const {
        Node const group = place_.group();
        try {
            group->unset(place_.name().leaf(), nameOf(level));
        } catch (settings::core::exception::ValueNotDefinedForGivenLevel const&) {
            return;
        }
    }

    /// Calls `listener` with each new value in force as long as the connection lives, on the thread
    /// of the change, while the tree is held for it: it may read any key, and must set none. Where
    /// T is no optional it is not called when the key loses its value; nor for a value of another
    /// type that a key of any type gets. It hears nothing of a key that was removed, even if one of
    /// the same name follows. A call that has begun on another thread may end after the connection.
    template <class Listener>
    [[nodiscard]] Connection onChange(Listener listener) const {
        static_assert(std::is_invocable_v<Listener&, T>,
                      "settingscore::typed: the listener of onChange is called with the new value");
        using settings::core::SettingsValueChangeEvent;
        auto const shared = std::make_shared<Listener>(std::move(listener));
        Node const key = place_.group()->getChild(place_.name().leaf());
        Connection connection;
        if (key) {
            connection = key->template addListener<SettingsValueChangeEvent>(
                [shared, name = place_.name()](SettingsValueChangeEvent const& event) {
                    call(*shared, name, event.getObj());
                });
        }
        if (!connection) place_.name().fail(place_.name().root());
        return connection;
    }

    /// For the other classes of this folder: where the key is.
    detail::KeyPlace const& place() const { return place_; }

private:
    using Node = detail::Node;

    static std::string const& inForce() {
        static auto const& none = *new std::string;
        return none;
    }

    boost::any readAny(std::string const& level) const {
        Node const group = place_.group();
        try {
            return group->getAny(place_.name().leaf(), level);
        } catch (settings::core::exception::NoSuchKey const&) {
            // It went after it was found.
            throw MissingKey(group, name(), "there is no such key.");
        }
    }
    T read(std::string const& level) const { return detail::fromAny<T>(readAny(level), name()); }

    template <class Listener>
    static void call(Listener& listener, detail::KeyName const& name,
                     settings::core::exception::NodePtr const& key) {
        auto const group = key->getParent();
        if (!group) return;
        std::optional<T> value;
        try {
            value.emplace(detail::fromAny<T>(group->getAny(name.leaf(), inForce()), name.full()));
        } catch (KeyError const&) {
            return;
        }
        listener(std::move(*value));
    }

    detail::KeyPlace place_;
};

}  // namespace settingscore::typed
