#pragma once

#include <chrono>

#include <settingscore/Export.hpp>

namespace settings::core {

/// Lets several processes save the same products without undoing each other's changes. Each of them
/// has to turn it on; without it a save writes a whole product from the memory of its process.
///
/// **Saves merge.** A save takes the lock of the user directory, and looks whether the user file is
/// the one that this process last read or wrote. If others have written it, it is read, and the
/// save writes what was changed in this process since the two last agreed, and all else as the file
/// has it. What others added stays, and what they removed stays away, unless it was changed here.
/// If both changed a key, the later save wins, for that key alone. A file that turns out to be
/// defective is kept aside as in a durable save, and one that cannot be read at this time stays.
///
/// **A change starts from the present.** An operation that writes (set, unset, batch, add, remove,
/// attach, merge) takes in what others have written to its products before it looks at anything;
/// if nobody has, that is one look at the file. What it takes in is told to listeners as by
/// `SettingsFileWatch::refresh`, on the calling thread.
///
/// **A batch is one save.** A batch saves each of its products once, at its end, so that a process
/// that is killed leaves all of it in a product's file or nothing. Events stay one by one and in
/// order. A save that fails is thrown at the end; memory keeps the change, and the next save
/// that succeeds brings it into the file.
///
/// The lock is advisory, on the file ".qbsettings.lock" of the user directory, which is made for
/// its owner alone and stays. A save waits for it for `longestWait`, and then throws
/// `ErrorWriteToTempSettingsFile` with the path of the user file, EWOULDBLOCK and a reason that
/// names the lock file and, where the system knows, its holder; nothing is lost, as the change
/// counts as one that the file still lacks. Where the file system has no locks the save throws at
/// once (ENOLCK, EOPNOTSUPP). The lock works over network file systems that have locks.
///
/// A save that cannot write its file whole, or put it in place, throws the same error, also without
/// durable saving, and the file of before stays: it holds what others have saved.
///
/// A process without this mode, or an editor, takes no lock: its change is taken in like any other,
/// and what it overwrites is seen as its change. A save of this mode and one without at the same
/// moment can still undo each other.
///
/// While a save holds the lock, SIGHUP, SIGINT and SIGTERM wait on its thread, so that they end a
/// program with one thread before or after it and leave no temporary folder. A save that waits for
/// the lock can be interrupted.
///
/// Temporary folders of processes that were killed are removed by the next save, if their maker
/// lives no more for certain (only processes in this mode leave the mark that tells it).
///
/// Works with durable saving, turned on in either order. What memory holds of a product that was
/// loaded before is compared with the file at its first change: what differs counts as changed
/// here. Beside its tree the mode keeps 16 bytes for each node of a product that was changed. A
/// forked child holds no lock; it goes on with what its parent knew. The mode belongs to the
/// process and is to be turned on and off while no save runs.
SETTINGSCORE_API void turnOnSharedSaving(
    std::chrono::milliseconds longestWait = std::chrono::seconds(10));

/// From now on saves write what this process has in memory.
SETTINGSCORE_API void turnOffSharedSaving();

}  // namespace settings::core
