#pragma once

#include <boost/any.hpp>
#include <boost/shared_ptr.hpp>
#include <settingscore/host/UString.hpp>
#include <settingscore/tree/SettingsImpl.hpp>

namespace settings::core::detail {

/// Folds one tree into another: the work of a load, and the trial of a merge into the live tree.
/// The target is always a private copy, so that a merge either fits as a whole or changes nothing
/// that a user can see; the source is only read.
class MergeEngine {
public:
    enum class Purpose {
        load,  ///< A parsed file: names count, and a key's first value comes unchecked.
        trial  ///< A merge: a key that has its rules checks its first value like any other.
    };
    /// The lock is one that the caller holds, for the checks of values. Values arrive on `level`.
    MergeEngine(HeldLock const& lock, SettingsLevel const& level, Purpose purpose);

    /// `defining`: the source defines the target, as the first file of a tree does.
    void mergeIntoNode(SettingsImpl& target, SettingsImpl const& source, bool defining) const;

    /// What became of a fold.
    struct Folded {
        boost::shared_ptr<SettingsImpl> result;
        bool isWhole;  ///< The file contributed all that it has.
    };
    /// Folds one parsed file into a copy of `target`. Failures that a bad file can cause are
    /// appended to `errors`, with the name of the file; others go out.
    static Folded foldFile(boost::shared_ptr<SettingsImpl> const& target,
                           boost::shared_ptr<SettingsImpl const> const& source,
                           SettingsLevel const& level, bool defining, ustring& errors,
                           ustring const& fileName);

    /// Makes of the first file's parsed tree what folding it into the empty `target` would give,
    /// and of its nodes those of the product. Throws what the fold would; the parsed tree is used
    /// up.
    static void takeFirstFile(SettingsImpl const& target, SettingsImpl& parsed,
                              SettingsLevel const& level);

private:
    /// One node, without what is below it.
    void mergeOne(SettingsImpl& target, SettingsImpl const& source, bool defining,
                  bool isNew) const;
    void mergePreCheck(SettingsImpl& target, SettingsImpl const& source, bool defining) const;
    void mergeIntoLeafNode(SettingsImpl& target, SettingsImpl const& source, bool isNew) const;
    /// Null if the target has the child already; else the child, made and attached.
    SettingsImpl* newChild(SettingsImpl& target, SettingsImpl const& sourceChild) const;

    HeldLock lock_;
    SettingsLevel const& level_;
    Purpose purpose_;
    bool isLastLevel_;
};

/// Gives a value the shape that a key wants (one element to an array and back), if it fits; beyond
/// what a set converts, also a single bit to a bool.
void takeShape(SettledRules const& rules, boost::any& value);

}  // namespace settings::core::detail
