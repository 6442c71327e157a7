#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include <boost/any.hpp>
#include <qbsettings/store/Tree.hpp>
#include <qbsettings/text/Lines.hpp>

namespace qbsettings {

struct Context;

/// Lines that set keys on one level, all or none.
class LineBatch {
public:
    struct Entry {
        std::size_t line;
        SettingsPtr key;
        boost::any value;
    };
    struct Refusal {
        std::size_t line;  ///< 0 if no line is known.
        std::string message;
    };

    LineBatch(Context& context, std::string level);

    /// Reads a line and checks it against the rules of its key. False if it is refused.
    bool add(InputLine const& line);
    /// Sets the keys. False if one was refused, and then none is set.
    /// @throws Failure for a save that failed, with what is in the files after it
    bool setAll();

    std::vector<Entry> const& entries() const { return entries_; }
    /// Of the lines, and then of the keys when they were set.
    std::vector<Refusal> const& refusals() const { return refusals_; }

private:
    Entry read(InputLine const& line) const;
    [[noreturn]] void reportSaved() const;
    std::vector<Entry const*> lastEntries() const;
    void confirmAll() const;

    Context& context_;
    std::string level_;
    std::vector<Entry> entries_;
    std::vector<Refusal> refusals_;
};

}  // namespace qbsettings
