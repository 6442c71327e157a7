#pragma once

#include <string>
#include <vector>

#include <qbsettings/errors/Fault.hpp>

namespace qbsettings {

/// A kind of what `check` finds. docs/findings.md has a section for each, which the tests run.
struct FindingKind {
    /// A word that stays, whatever becomes of the message.
    char const* id;
    bool isFault;  ///< It costs what the file says; otherwise it is a warning.
    char const* what;
};

/// All kinds: the one place where a new one has to be entered.
std::vector<FindingKind> const& findingKinds();

/// The place of a kind in their list. @throws std::logic_error for an id that none has
std::size_t placeOfKind(std::string const& id);

/// What is wrong, or without effect, at a place in a file.
struct Finding : Fault {
    Finding(Fault const& fault, char const* kind) : Fault(fault), id(kind) {}

    char const* id;  ///< Of its kind.
};

}  // namespace qbsettings
