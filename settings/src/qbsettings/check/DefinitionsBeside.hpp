#pragma once

#include <map>
#include <string>
#include <utility>
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
    struct Group {
        qf::ustring const& file;
        settings::core::Markup const& markup;
        SettingsPtr content;
        std::size_t id;
    };
    /// The id of a group and a name in it, folded: full names of a deep tree take too much.
    using Place = std::pair<std::size_t, std::string>;

    void addGroup(Group const& group, std::vector<Finding>& findings);

    std::map<Place, std::size_t> groups_;
    std::map<Place, Definition> definitions_;
};

}  // namespace qbsettings
