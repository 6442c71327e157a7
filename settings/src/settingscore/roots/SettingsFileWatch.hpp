#pragma once

#include <cstddef>
#include <memory>

#include <settingscore/Export.hpp>
#include <settingscore/host/ContextMgr.hpp>
#include <settingscore/host/UString.hpp>

namespace settings::core {

/// Follows what other processes save to the user directory of an instance, in the mode of shared
/// saving (`turnOnSharedSaving`), without which it does nothing. The library has no thread of its
/// own: the host waits for the descriptor in its loop, or for a time that it likes, and calls
/// `refresh`.
///
/// An object is to be used by one thread at a time; several objects are independent. The instance
/// may be reset meanwhile: the next refresh follows its new root. A forked child must make a watch
/// of its own.
class SETTINGSCORE_API SettingsFileWatch {
public:
    /// Begins to watch for the instance, whose root is made if there is none yet.
    explicit SettingsFileWatch(ZcrID id);
    ~SettingsFileWatch();
    SettingsFileWatch(SettingsFileWatch const&) = delete;
    SettingsFileWatch& operator=(SettingsFileWatch const&) = delete;

    /// Becomes readable when something in the user directory changes, and when the directory is
    /// made: also for what this process saves itself, and for what turns out to change nothing. The
    /// same one for the life of the object, to be read and closed by it alone. -1 if the system had
    /// none to give. On a directory that several machines share it sees the changes of this one
    /// alone; `refresh` compares the files and sees all.
    int descriptor() const;

    /// What a refresh brought.
    struct Refreshed {
        /// Number of the keys that changed, and of the groups and keys that came or went.
        std::size_t changedNodes = 0;
        /// A line for each fault of a file, as in the report of a load: nothing of that file is
        /// taken in, and memory stays as it is. Told once for each version of the file.
        ustring report;
    };
    /// Takes in what others have saved to all products that are loaded, with the checks of a load,
    /// and tells listeners and the queue on this thread: value changes where the value in force
    /// changed, additions, removals, in the order of the walk, with the tree held for upgrade as in
    /// a merge. Values on "session" stay as they are, and so does a key that has one, or that was
    /// changed here and not saved yet. A product that is not loaded is left to its first use. A
    /// file of a product that nobody knew makes a product, with its event; a product whose only
    /// file is gone goes, with its event.
    ///
    /// Locks: none while files are read; then upgrade. Must not be called by who holds the tree
    /// lock, so neither by listeners nor by validators.
    /// @throws what a listener threw first, after all else was done
    Refreshed refresh();

private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace settings::core
