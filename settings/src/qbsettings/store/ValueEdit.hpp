#pragma once

#include <optional>
#include <string>
#include <vector>

#include <qbsettings/store/Tree.hpp>

namespace qbsettings {

/// How the words of a command line become the value of a key.
struct ValueEdit {
    bool json = false;               ///< The one word is JSON.
    bool empty = false;              ///< No elements.
    bool append = false;             ///< Behind the elements that are there.
    bool remove = false;             ///< Without these.
    bool toggle = false;             ///< The other truth.
    bool add = false;                ///< The sum of the number and the word.
    std::optional<unsigned> insert;  ///< Before the element of that index, from 0.
};

/// The texts of the value that a key, whose value in force they start from, is to have.
/// @throws Failure, also for an edit that does not fit words or key
std::vector<std::string> editedTexts(ValueEdit const& edit, SettingsPtr const& key,
                                     std::vector<std::string> const& words);

}  // namespace qbsettings
