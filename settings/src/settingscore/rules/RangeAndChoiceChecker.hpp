#pragma once

#include <vector>

#include <boost/any.hpp>
#include <boost/optional.hpp>
#include <boost/shared_ptr.hpp>
#include <settingscore/host/UString.hpp>
#include <settingscore/rules/SettingsKeyMetaData.hpp>

namespace settings::core {
class Settings;
class SettingsImpl;
}  // namespace settings::core

namespace settings::core::detail {

class HeldLock;

/// Visitor that checks a value, or each element of an array in order, against the metadata of a
/// key. A failure changes nothing.
class RangeAndChoiceChecker {
public:
    /// The key is named in errors, and not looked into. The metadata outlive the checker.
    RangeAndChoiceChecker(boost::shared_ptr<Settings const> const& key,
                          SettingsKeyMetaData<boost::any> const& metaData)
        : key_(key), metaData_(metaData) {}
    /// With the metadata of the key, whose lock is held by the caller and outlives the checker.
    /// Looks into the node: in tree/RulesOfNodes.cpp.
    RangeAndChoiceChecker(boost::shared_ptr<SettingsImpl const> const& node, HeldLock const& lock);

    /// @throws exception::DefaultValidationFailedOnVoidType always
    [[noreturn]] void operator()() const;
    /// T is an element type.
    /// @throws exception::ValueIsNotInRange, exception::ValueIsNotOneOfTheChoicesAndNotInRange,
    ///         settingscore::boostany::detail::TypeNotMatch for metadata of another type
    template <class T>
    void operator()(T const& value) const;
    /// An array without elements passes whatever the metadata say.
    template <class T>
    void operator()(std::vector<T> const& values) const;

    // Texts of the errors. Values and bounds of 8-bit types are one character, the byte itself;
    // choices of these types are numbers.
    template <class T>
    ustring getChoicesStr(std::vector<T> const& choices) const;
    template <class T>
    ustring getBoundUstr(boost::optional<T> const& bound) const;
    template <class T>
    ustring getValueStrForErrorMessage(T const& value) const;

private:
    template <class T>
    void check(SettingsKeyMetaData<T> const& rules, T const& value) const;

    boost::shared_ptr<Settings const> key_;
    SettingsKeyMetaData<boost::any> const& metaData_;
};

}  // namespace settings::core::detail
