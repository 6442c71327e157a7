#pragma once

#include <array>
#include <string>
#include <vector>

#include <boost/shared_ptr.hpp>
#include <settingscore/levels/LevelNames.hpp>
#include <settingscore/levels/SettingsLevel.hpp>

namespace settings::core {

/// The stack of levels, in the order in which a read looks at them:
///
/// | name      | modifiable | files a product | directory                             |
/// |-----------|------------|-----------------|---------------------------------------|
/// | "session" | yes        | none            | none                                  |
/// | "user"    | yes        | one             | `SettingsRootDirQuerier::UserRoot`    |
/// | "factory" | no         | any number      | `SettingsRootDirQuerier::FactoryRoot` |
class SETTINGSCORE_API SettingsLevelManager {
public:
    /// Number of the levels.
    static constexpr std::size_t levelCount = detail::levelNames.size();
    using Levels = std::array<SettingsLevel, levelCount>;

    static boost::shared_ptr<SettingsLevelManager> getSettingsLevelManagerInstance();
    /// The first of the levels.
    static SettingsLevel const* getSettingsLevelObjs() { return levels().data(); }
    static Levels const& levels();
    /// The level that has one file a product: "user".
    static SettingsLevel const& userLevel() { return levels()[1]; }
    /// Name of the level of the shipped definitions: "factory".
    static std::string const& getLastLevelName() { return levels().back().levelName(); }
    /// The level of exactly that name, null if there is none.
    static SettingsLevel const* findLevel(std::string const& name);

    SettingsLevel const* getSettingsLevelByName(std::string const& name) const {
        return findLevel(name);
    }
    /// One entry a name, null for an unknown one.
    template <class Iterator>
    std::vector<SettingsLevel const*> getSettingsLevelByNameVec(Iterator first,
                                                                Iterator last) const {
        std::vector<SettingsLevel const*> found;
        for (; first != last; ++first)
            found.push_back(findLevel(*first));
        return found;
    }
    std::vector<std::string> getAllLevelNames() const;
    bool isValidLevel(std::string const& name) const { return findLevel(name) != nullptr; }
    /// True if the level exists and has files. Says nothing about whether it can be modified: true
    /// for "factory".
    bool isWritableLevel(std::string const& name) const;
};

}  // namespace settings::core
