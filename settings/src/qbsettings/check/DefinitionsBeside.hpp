#pragma once

#include <map>
#include <string>
#include <vector>

#include <qbsettings/check/Finding.hpp>
#include <qbsettings/store/Tree.hpp>
#include <settingscore/persistence/Markup.hpp>

namespace qbsettings {

/// Keys that several files of one product define, and not alike.
class DefinitionsBeside {
public:
    /// Compares a file with those before it. `content` is the file as it is read by itself.
    std::vector<Finding> add(qf::ustring const& file, settings::core::Markup const& top,
                             SettingsPtr const& content);

private:
    /// What can differ, with what it is.
    using Aspects = std::map<std::string, std::string>;
    struct Definition {
        qf::ustring file;
        unsigned long line;
        unsigned long column;
        Aspects aspects;
    };

    static Aspects aspectsOf(settings::core::Markup const& element, SettingsPtr const& key);
    void addGroup(qf::ustring const& file, settings::core::Markup const& group,
                  SettingsPtr const& content, std::vector<Finding>& findings);

    std::map<std::string, Definition> definitions_;
};

}  // namespace qbsettings
