#pragma once

#include <map>
#include <string>
#include <vector>

#include <boost/shared_ptr.hpp>
#include <qbsettings/errors/Fault.hpp>
#include <settingscore/errors/FileExceptions.hpp>

namespace settings::core {
class Settings;
}

namespace qbsettings {

class Directories;

using SettingsPtr = boost::shared_ptr<settings::core::Settings>;

/// The tree of this process, as far as its files can be read: what is wrong with them is reported
/// once, and kept.
class Tree {
public:
    explicit Tree(Directories const& directories) : directories_(directories) {}

    /// @throws Failure if there is no user directory
    SettingsPtr root();
    /// All products, after a look at the folders that can hold one: what the library cannot list
    /// counts as empty there.
    std::vector<SettingsPtr> products();
    /// @{
    /// Looks at the factory folders that can hold the product, or at the user directory. False if
    /// one cannot be listed.
    bool canListFactory(std::string const& product);
    bool canListUser();
    /// @}

    /// Runs `access`, which may be the first to touch a product; the faults of its files are
    /// reported and kept, and the access is made again, to what could be read.
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
    /// The children of a group, read if nobody has read them yet; none of a key.
    std::vector<SettingsPtr> childrenOf(SettingsPtr const& node);

    /// From now on faults are kept and not reported.
    void keepQuiet() { quiet_ = true; }
    std::vector<Fault> const& faults() const { return faults_; }
    bool isFaulty(qf::ustring const& file) const;

private:
    void keep(Fault const& fault);
    void keepFaults(settings::core::exception::ErrorReadingSettingsData const& error);
    bool lookAt(qf::ustring const& folder);

    Directories const& directories_;
    SettingsPtr root_;
    std::vector<Fault> faults_;
    std::map<qf::ustring, bool> listable_;
    bool quiet_ = false;
};

}  // namespace qbsettings
