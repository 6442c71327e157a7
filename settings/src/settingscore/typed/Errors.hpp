#pragma once

#include <string>
#include <utility>

#include <settingscore/Export.hpp>
#include <settingscore/errors/InternalError.hpp>
#include <settingscore/errors/TreeExceptions.hpp>

/// What typed keys throw beside the errors of the library. `what()` is a whole sentence and begins
/// with the full name of the key.
namespace settingscore::typed {

/// Base of those that are about a key as it stands.
class SETTINGSCORE_API KeyError : public settings::core::exception::InternalError {
public:
    /// Takes what its accessors, or its text, tell.
    KeyError(std::string key, std::string const& reason)
        : key_(std::move(key)), text_(key_ + ": " + reason) {}
    char const* what() const noexcept override { return text_.c_str(); }
    /// Full name of the key.
    std::string const& getKeyName() const { return key_; }

private:
    std::string key_;
    std::string text_;
};

/// The key is of another type than the C++ type that it was used with.
class SETTINGSCORE_API WrongType : public KeyError {
public:
    /// Takes what its accessors, or its text, tell.
    WrongType(std::string const& key, std::string keyType, std::string askedType)
        : KeyError(key, "the key is of type " + keyType + " and was used as one of type " +
                            askedType + "."),
          keyType_(std::move(keyType)),
          askedType_(std::move(askedType)) {}
    /// The type of the key, or of the value that a key of any type holds: "array of int32".
    std::string const& getKeyType() const { return keyType_; }
    /// The type that stands for the C++ type, in the same form.
    std::string const& getAskedType() const { return askedType_; }

private:
    std::string keyType_;
    std::string askedType_;
};

/// The key has no value, and the C++ type is no `std::optional`.
class SETTINGSCORE_API NoValue : public KeyError {
public:
    /// Takes what its accessors, or its text, tell.
    explicit NoValue(std::string const& key) : KeyError(key, "the key has no value.") {}
};

/// The value is none of the choices in the table of an enum, or the enumerator is not in it.
class SETTINGSCORE_API NotInTable : public KeyError {
public:
    /// Takes what its accessors, or its text, tell.
    NotInTable(std::string const& key, std::string value)
        : KeyError(key, "'" + value + "' is not in the table of its choices."),
          value_(std::move(value)) {}
    /// The value, or the number of the enumerator.
    std::string const& getValue() const { return value_; }

private:
    std::string value_;
};

/// A number is too small or too large for the type of the key.
class SETTINGSCORE_API DoesNotFit : public KeyError {
public:
    /// Takes what its accessors, or its text, tell.
    DoesNotFit(std::string const& key, std::string const& number, std::string const& type)
        : KeyError(key, number + " does not fit into the type " + type + ".") {}
};

/// There is no such key: it was never there, was removed, or its instance has let its tree go. A
/// `NoSuchKey`, so that who catches that gets this one as well.
class SETTINGSCORE_API MissingKey : public settings::core::exception::NoSuchKey {
public:
    /// Takes what its accessors, or its text, tell.
    MissingKey(settings::core::exception::NodePtr node, std::string const& key,
               std::string const& reason)
        : NoSuchKey(std::move(node), key), text_(key + ": " + reason) {}
    char const* what() const noexcept override { return text_.c_str(); }

private:
    std::string text_;
};

}  // namespace settingscore::typed
