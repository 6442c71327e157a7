#pragma once

#include <string>

#include <settingscore/host/HostApi.hpp>
#include <settingscore/host/UString.hpp>

namespace rescat {
class BaseMsgID;
}

/// Text of the host. Narrow text is UTF-8 whatever the process's locale is, and no operation here
/// depends on `setlocale` or `std::locale::global`. All operations may be called by any thread.
namespace qf::i18n {

/// UTF-16 to UTF-8. A lone surrogate becomes U+FFFD. Never throws for the content.
QBHOST_API std::string to_string(ustring const& text);

/// UTF-8 to UTF-16. A byte that is no part of a well-formed sequence becomes the one character
/// with the byte's number. Never throws for the content, never shortens the text.
QBHOST_API ustring to_ustring(std::string const& text);

/// UTF-16 to the named encoding. "UTF-8" is the one encoding that has to be known; the result is
/// that of `to_string`. @throws std::invalid_argument for an unknown encoding.
QBHOST_API std::string codecvt_ustring_to_string(ustring const& text, char const* encoding);

/// Value of an environment variable, empty if it is unset. What variables name is mostly folders,
/// so a byte that is not UTF-8 is carried as a path carries it. A process that has more rights than
/// its caller sees none of the caller's variables; HOME is there the home of the user whose rights
/// it has.
QBHOST_API ustring getenv(char const* name);

/// Names the language of catalogue texts.
class QBHOST_API qbLocale {
public:
    /// The language of the process.
    static qbLocale const& global();
};

/// The texts of the host, by message identifier.
class QBHOST_API MessageCatalog {
public:
    /// The text of `id` with its arguments put in. For an id that the catalogue lacks: the id and
    /// its arguments, so that no failure goes unreported.
    static ustring get_message(rescat::BaseMsgID const& id, qbLocale const& locale);
};

}  // namespace qf::i18n
