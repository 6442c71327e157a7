#pragma once

#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <boost/shared_ptr.hpp>
#include <qbsettings/Faults.hpp>
#include <qbsettings/WriteLock.hpp>
#include <settingscore/errors/FileExceptions.hpp>
#include <settingscore/host/UString.hpp>

namespace settings::core {
class Settings;
}

namespace qbsettings {

using SettingsPtr = boost::shared_ptr<settings::core::Settings>;

/// Places that the command line puts before the library's own rules.
struct Places {
    std::optional<std::string> hostRoot;
    std::optional<std::string> factoryDirectory;
    std::optional<std::string> userDirectory;
};

/// The levels, in the order in which a read looks at them.
std::vector<std::string> const& levelNames();

/// What the commands share: the tree, the directories, and what was wrong with the files.
class Context {
public:
    explicit Context(Places const& places);

    /// The tree of this process. @throws Failure if there is no user directory
    SettingsPtr root();

    /// Directory of the user's files, made on the way where the library's rules say so.
    qf::ustring userDirectory();
    qf::ustring userFile(std::string const& product);
    /// The product whose user file a path names; empty if it is none. Makes no directory.
    std::string productOfUserFile(qf::ustring const& file);
    /// From now on the user's files are saved in this directory.
    void saveIn(qf::ustring const& directory);
    /// The files that define a product, in the order in which they are read.
    std::vector<qf::ustring> factoryFiles(std::string const& product);
    /// Where a product is defined, for messages: its one factory file, or their folder.
    std::string definedIn(std::string const& product);

    /// Takes the lock of the writers, for the rest of the command. To be called before the root is
    /// asked for, so that what is written was read under the lock.
    void lockForWriting();

    /// Runs `access`, which may be the first to touch a product; the faults of its files are told
    /// and kept, and the access is made again, to what could be read.
    template <class Access>
    auto loading(Access const& access) {
        while (true) {
            try {
                return access();
            } catch (settings::core::exception::ErrorReadingSettingsData const& error) {
                if (error.getErrorCode() != settings::core::exception::LazyLoadFailed) throw;
                keepFaults(error);
            }
        }
    }

    /// From now on faults are kept and not told.
    void keepQuiet() { quiet_ = true; }
    std::vector<Fault> const& faults() const { return faults_; }

    /// Tells, once a product, that its user file could not be read: a save keeps it aside and
    /// replaces it by what was understood of it.
    void warnOfUnreadable(std::string const& product);
    /// @throws Failure if the product's user file could not be read: it would be lost with the
    /// product
    void refuseToRemoveUnreadable(std::string const& product);

private:
    bool isUserFileFaulty(std::string const& product);
    void keepFaults(settings::core::exception::ErrorReadingSettingsData const& error);

    SettingsPtr root_;
    qf::ustring savesDirectory_;  ///< Empty: the user directory.
    std::unique_ptr<WriteLock> lock_;
    std::vector<Fault> faults_;
    std::set<std::string> warnedOf_;
    bool quiet_ = false;
};

}  // namespace qbsettings
