#pragma once

#include <set>
#include <string>
#include <vector>

#include <qbsettings/check/Finding.hpp>
#include <qbsettings/check/FunctionReview.hpp>
#include <qbsettings/check/NeverRead.hpp>
#include <qbsettings/store/Tree.hpp>
#include <settingscore/host/UString.hpp>
#include <settingscore/persistence/Markup.hpp>

namespace qbsettings {

class Findings;
struct Context;

/// Looks for what is wrong in settings files, and for what they say without effect.
class Checker {
public:
    Checker(Context& context, Findings& findings) : context_(context), findings_(findings) {}

    /// The files of all products, and the folders that they are in. Where told, removes the
    /// temporary folders that killed processes left.
    void checkAll(bool clean);
    /// A file that was named. That of a user is looked at beside its product.
    void checkNamed(qf::ustring const& file);
    /// From now on keys without texts are found as well.
    void wantTexts() { wantsTexts_ = true; }

private:
    void add(Fault const& fault);
    void checkProduct(SettingsPtr const& product);
    void checkTexts(SettingsPtr const& product, bool isWhole);
    void checkUserFile(SettingsPtr const& product, std::vector<SettingsPtr> const& factoryFiles,
                       bool areAll);
    SettingsPtr checkFile(qf::ustring const& file, bool ofUser);
    void addOthers(qf::ustring const& file, std::vector<Fault> told);
    void checkMarkup(qf::ustring const& first, SettingsPtr const& content, bool ofUser);
    std::vector<Finding> reviewsOf(qf::ustring const& file, settings::core::Markup const& top,
                                   SettingsPtr const& content, bool ofUser);
    template <class Look>
    void addAll(qf::ustring const& file, Look const& look);

    Context& context_;
    Findings& findings_;
    std::set<qf::ustring> reviewed_;
    NeverRead neverRead_;
    FunctionReview functions_;
    bool wantsTexts_ = false;
};

}  // namespace qbsettings
