#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include <qbsettings/store/LineBatch.hpp>

namespace qbsettings {

/// What the user changed in a text of lines that say what is set: lines that are new or other set
/// their keys, those that are gone unset them. What others change in the meantime stays, unless the
/// user changed the same line.
class LineEdit {
public:
    /// Checks all of it.
    LineEdit(Context& context, std::string const& original, std::string const& text);

    /// Does all, and says what. To be called if nothing was refused; nothing was done if something
    /// is now. @throws Failure for a save that failed, with what is in the files after it
    void carryOut();

    /// By the number of the line; 0 for what no line stands for.
    std::multimap<std::size_t, std::string> const& refusals() const { return refusals_; }

private:
    void addUnset(std::string const& name);
    void take(std::vector<LineBatch::Refusal> const& refusals);
    void unsetAll() const;

    Context& context_;
    LineBatch sets_;
    std::vector<SettingsPtr> unsets_;
    std::multimap<std::size_t, std::string> refusals_;
};

}  // namespace qbsettings
