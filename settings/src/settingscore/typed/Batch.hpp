#pragma once

#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <boost/any.hpp>
#include <boost/shared_ptr.hpp>
#include <settingscore/tree/Settings.hpp>
#include <settingscore/typed/Fits.hpp>
#include <settingscore/typed/Form.hpp>
#include <settingscore/typed/KeyPlace.hpp>
#include <settingscore/typed/Level.hpp>

namespace settingscore::typed {

template <class T>
class Key;

/// Several keys that are set as one action:
///
///     Batch(root).set(lineWidth, 0.5).set(paper, "A3").apply();
///
/// `apply` is `Settings::setMultipleOrThrow`: all values are checked before the first is stored.
/// For one thread.
class Batch {
public:
    /// The keys are looked for below `root`, whatever their own instance is.
    /// @throws std::invalid_argument for an empty root: there is no such instance
    explicit Batch(boost::shared_ptr<settings::core::Settings> root, Level level = Level::user)
        : root_(std::move(root)), level_(level) {
        if (!root_) throw std::invalid_argument("Batch: the root is empty.");
    }

    /// Adds a value, as `Key::set` takes it; nothing is set yet.
    /// @throws MissingKey, WrongType, DoesNotFit, NotInTable, with the batch as it was
    template <class T, class Given>
    Batch& set(Key<T> const& key, Given const& given) {
        using Form = detail::Form<T>;
        using Value = typename Form::Value;
        using Passed = std::decay_t<Given const>;
        detail::KeyName const& name = key.place().name();
        detail::hasType(name, name.groupBelow(root_),
                        boostany::ValueTraits<typename Form::Stored>::index);
        if constexpr (detail::isNumberFor<Value, Passed>) {
            add(name,
                boost::any(Form::store(detail::fitted<Value>(given, name.full()), name.full())));
        } else {
            static_assert(std::is_convertible_v<Given const&, Value>,
                          "settingscore::typed: this is no value for a key of that type");
            add(name, boost::any(Form::store(given, name.full())));
        }
        return *this;
    }

    /// Sets all, or none if a value is refused, and is empty then. A failure to save, or of a
    /// listener, leaves those before it stored.
    /// @throws what refuses the first value that is refused
    void apply() {
        std::vector<settings::core::Settings::NameValue> values;
        values.swap(values_);
        root_->setMultipleOrThrow(values, nameOf(level_));
    }

private:
    void add(detail::KeyName const& name, boost::any value) {
        values_.emplace_back(name.full(), std::move(value));
    }

    boost::shared_ptr<settings::core::Settings> root_;
    Level level_;
    std::vector<settings::core::Settings::NameValue> values_;
};

}  // namespace settingscore::typed
