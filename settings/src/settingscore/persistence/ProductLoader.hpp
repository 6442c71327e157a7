#pragma once

#include <optional>

#include <boost/shared_ptr.hpp>
#include <settingscore/host/Filesystem.hpp>
#include <settingscore/persistence/UnreadFiles.hpp>
#include <settingscore/persistence/shared/FileStamp.hpp>

namespace settings::core {

class SettingsImpl;
class SettingsLevel;
class TreeRoot;

/// Collects what the files of one product say, of all levels, in a private tree. Touches no other
/// and takes no lock of one.
class ProductLoader {
public:
    /// Lines of report, one a fault, are appended to `errors`.
    ProductLoader(std::string const& product, boost::shared_ptr<TreeRoot const> root,
                  ustring& errors);

    /// `withStamps`: the version of the user file is noted.
    void readAll(bool withStamp);
    /// Null if no file contributed.
    boost::shared_ptr<SettingsImpl> result() const {
        return isFirstRead_ ? merged_ : boost::shared_ptr<SettingsImpl>();
    }
    bool isAnyFileThere() const { return isAnyFileThere_; }
    /// Number of the factory's files that contributed.
    std::size_t factoryFiles() const { return factoryFiles_; }

    /// True if all that the user file has, if there is one, is in the result.
    bool isUserFileWhole() const { return userFault_.empty(); }
    /// The lines of report on the user file.
    ustring const& userFault() const { return userFault_; }
    /// The version of the user file that was read; nothing if it was replaced meanwhile, cannot be
    /// looked at, or could not be read for a reason that may pass.
    std::optional<FileStamp> const& userStamp() const { return userStamp_; }

private:
    using Path = qf::filesystem::path;

    void readUser(SettingsLevel const& level, bool withStamp);
    /// Whatever a file can do wrong costs the contribution of that file alone.
    /// @return what kept the file from being read, if that may pass
    std::optional<UnreadFiles::Passing> read(Path const& file, SettingsLevel const& level);
    void fold(boost::shared_ptr<SettingsImpl> const& object, Path const& file,
              SettingsLevel const& level);
    void report(Path const& file, ustring const& text);

    std::string const name_;
    boost::shared_ptr<SettingsImpl> merged_;
    boost::shared_ptr<TreeRoot const> root_;
    ustring& errors_;
    bool isFirstRead_ = false;
    bool isAnyFileThere_ = false;
    std::size_t factoryFiles_ = 0;
    ustring userFault_;
    std::optional<FileStamp> userStamp_;
};

}  // namespace settings::core
