#pragma once

#include <string>
#include <vector>

#include <qbsettings/output/Cell.hpp>
#include <qbsettings/store/Tree.hpp>

namespace qbsettings {

class NodeTexts;
class Output;
struct KeyState;

/// Rows of keys, for the commands that list some.
class KeyRows {
public:
    struct What {
        std::string level;               ///< Values of this level alone; those in force if empty.
        bool changedOnly = false;        ///< Keys whose value is not the factory's, with that.
        bool isLong = false;             ///< With what is allowed, and what it is.
        std::vector<std::string> words;  ///< Keys that hold all of them, whatever the case.
    };

    KeyRows(Output& output, NodeTexts& texts, What what);

    /// Prints the row of the key, if it has one. False if its value could not be had.
    bool add(SettingsPtr const& key);
    /// A group whose keys are not shown.
    void addGroup(SettingsPtr const& group);
    std::size_t count() const { return count_; }

private:
    bool isAskedFor(KeyState const& state);
    void addTexts(Row& row, std::string const& name);

    Output& output_;
    NodeTexts& texts_;
    What what_;
    std::size_t count_ = 0;
};

}  // namespace qbsettings
