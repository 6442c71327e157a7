#pragma once

#include <cstddef>
#include <limits>
#include <string>

#include <boost/function.hpp>
#include <settingscore/Export.hpp>
#include <settingscore/host/UString.hpp>

namespace settings::core {

/// One of the sources of values. The levels are fixed; they stand in `SettingsLevelManager`.
class SETTINGSCORE_API SettingsLevel {
public:
    /// As `fileLimit`: any number of files for a product.
    static constexpr unsigned long unlimitedFiles = std::numeric_limits<unsigned long>::max();

    /// For the library, which makes the levels that there are.
    SettingsLevel(std::string levelName, boost::function<ustring()> rootPathQuery, bool modifiable,
                  unsigned long fileLimit, bool factoryLevel, bool workgroupLevel, bool userLevel,
                  std::size_t position = 0);

    /// Place in the stack; 0 is looked at first.
    std::size_t position() const { return position_; }
    /// The name by which callers ask for it.
    std::string const& levelName() const { return levelName_; }
    /// Directory of the level as the environment gives it at this moment; empty on a level that has
    /// none.
    ustring levelRootPath() const;
    /// Asks for the directory, and drops the answer.
    void initRootPath() const { initRootPathOnce(); }
    /// Its values are kept in files.
    bool canHaveFile() const { return fileLimit_ != 0; }
    /// Values can be set and removed.
    bool canBeModified() const { return modifiable_; }
    /// @{
    /// Which of the levels it is.
    bool isFactoryLevel() const { return factoryLevel_; }
    bool isWorkgroupLevel() const { return workgroupLevel_; }
    bool isUserLevel() const { return userLevel_; }
    /// @}

private:
    /// Not once, in spite of the name: a changed environment takes effect at the next call.
    ustring initRootPathOnce() const;

    std::size_t position_;
    std::string levelName_;
    bool modifiable_;
    unsigned long fileLimit_;
    boost::function<ustring()> rootPathQuery_;
    bool factoryLevel_;
    bool workgroupLevel_;
    bool userLevel_;
};

}  // namespace settings::core
