#pragma once

#include <exception>
#include <string>
#include <type_traits>
#include <utility>

#include <settingscore/host/HostApi.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/host/MsgID.hpp>
#include <settingscore/host/UString.hpp>

/// The host's exception bases. An exception of the system is an `Exception<Tag, std::exception>`,
/// with a marker interface or a message-id class as its tag. It can be caught as that, by its
/// interface (`IInternalException`, `IMsgIDException`, `IException`), and as a `std::exception`.
/// None of the interfaces derives from `std::exception` itself, so that the latter is never an
/// ambiguous base.
namespace qf::except {

/// The interface of all exceptions of the system.
class QBHOST_API IException {
public:
    virtual ~IException() = default;
    /// The text of the error.
    virtual char const* what() const noexcept = 0;
    /// 16-bit text to the narrow text of this family.
    virtual std::string convert_str(ustring const& text) const = 0;
    /// Narrow text of this family to 16-bit text.
    virtual ustring convert_str(std::string const& text) const = 0;
    /// The text of `what()` in 16 bits.
    virtual ustring ToUstringImpl() const = 0;

protected:
    IException() = default;
    IException(IException const&) = default;
    IException& operator=(IException const&) = default;
};

/// Marks an error that is meant for programmers: fixed English text, typed accessors.
class QBHOST_API IInternalException : public IException {
public:
    std::string convert_str(ustring const& text) const override { return i18n::to_string(text); }
    ustring convert_str(std::string const& text) const override { return i18n::to_ustring(text); }
    ustring ToUstringImpl() const override { return convert_str(std::string(what())); }
};

/// Base of the errors whose text is meant for the user.
class QBHOST_API IUserException : public IException {
public:
    std::string convert_str(ustring const& text) const override { return i18n::to_string(text); }
    ustring convert_str(std::string const& text) const override { return i18n::to_ustring(text); }
    ustring ToUstringImpl() const override { return convert_str(std::string(what())); }
};

/// An error that is a message identifier; its text comes from the message catalogue.
class QBHOST_API IMsgIDException : public IUserException {
public:
    /// The identifier with its arguments.
    virtual rescat::BaseMsgID const& get_msg_id() const = 0;
    /// "domain:key" of an identifier.
    std::string get_error_id(rescat::BaseMsgID const& id) const {
        return id.domain() + ":" + id.key();
    }
    /// The catalogue's text in the global locale.
    ustring GetUnicodeMessageTxt() const {
        return i18n::MessageCatalog::get_message(get_msg_id(), i18n::qbLocale::global());
    }
};

/// Joins a tag with a standard exception. This form serves the internal family: derived classes
/// give the text by overriding `what()`.
template <class Tag, class Std = std::exception, class Enable = void>
class QBHOST_API Exception : public Tag, public Std {
public:
    /// The text that the standard exception has.
    char const* what() const noexcept override { return Std::what(); }
};

/// The form for a message class (derived from `rescat::BaseMsgID`): an `IMsgIDException` that is
/// made from a value of the class.
template <class MsgClass, class Std>
class QBHOST_API
    Exception<MsgClass, Std, std::enable_if_t<std::is_base_of_v<rescat::BaseMsgID, MsgClass>>>
    : public IMsgIDException, public Std {
public:
    /// Looks the text up at once, since `what()` can neither fail nor allocate.
    explicit Exception(MsgClass id)
        : id_(std::move(id)),
          text_(i18n::to_string(i18n::MessageCatalog::get_message(id_, i18n::qbLocale::global()))) {
    }
    rescat::BaseMsgID const& get_msg_id() const override { return id_; }
    /// The catalogue's text, narrowed.
    char const* what() const noexcept override { return text_.c_str(); }

private:
    MsgClass id_;
    std::string text_;
};

}  // namespace qf::except
