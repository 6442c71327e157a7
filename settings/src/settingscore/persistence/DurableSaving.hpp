#pragma once

#include <settingscore/Export.hpp>

namespace settings::core {

/// Makes saves durable: a save that returns is on the disk, and one that could not be completed
/// changes no file and throws. Without this mode a save replaces the file even with an incomplete
/// one, and reports nothing (see `SettingsFile::saveSettings`).
///
/// What fails leaves the old file whole and nothing else in the directory, and is thrown by the
/// change that was to be saved, which stays in memory:
/// - `ErrorWriteToTempSettingsFile` for a value or a name that no file can hold (with the key or
///   group, EILSEQ and a reason that has its name); for opening, writing, syncing and closing the
///   temporary file and for its permission bits; for a temporary folder that could not be made in
///   1000 tries; for an old file that could not be kept aside, or not be read (see below); for the
///   rename;
/// - `NoFileWritePermission` for a file that is not writable;
/// - `NoWritePermissionOnDirectory`, and errors of the file layer for other trouble with making the
///   temporary folder, as without this mode.
///
/// One failure comes later: if the directory can't be brought to the disk after the rename, the
/// new file is in place, `ErrorWriteToTempSettingsFile` is thrown, and a power failure can still
/// bring the old one back. A process or machine that dies on the way leaves the old or the new
/// file, whole, and perhaps the temporary folder "temp..." beside it.
///
/// An `ErrorWriteToTempSettingsFile` has the path of the user file, an error number and the reason.
/// It names the product if no node is at fault, and nothing where the rename or what follows fails.
///
/// A file holds neither control characters but tab and line feed, nor U+FFFE, U+FFFF and lone
/// surrogates, nor an array in a key that takes any type, nor values whose type or number is not
/// their key's, nor an empty array unless the key takes arrays of any size (it would come back as
/// no value), nor names with `<`, `&`, `"`, a tab, a line end or the characters above, nor what
/// the reader's bounds on nesting and length refuse; those on length count the text as it is
/// written. A product's name has to be one that a file can have. A carriage return is refused as
/// well: it would come back as a line feed.
///
/// The new file has the permission bits of the old one. A user file that turned out to be defective
/// when its product was loaded is kept aside as NAME.settings.rejected before a save replaces it;
/// while that name is taken, as NAME.settings.rejected.2 and so on. It is never looked at again.
///
/// A user file that the load could not read for a reason that may pass (no descriptors, no memory,
/// a disk or network that fails; for a file that it names as well) or for want of the schema may be
/// as good as ever, and is not replaced. A save of that product by that tree reads the file once
/// more, to find out what is wrong with it:
/// - it fails again for such a reason: the save is refused with that reason;
/// - it can be read: the save is refused all the same, as the tree has none of its values; a new
///   root loads them;
/// - it is defective: it is kept aside, and the save goes on; so it does if the file is gone.
///
/// The same holds for a user file that the tree does not know of because the root could not list
/// the user's folder, and that a product made by code would replace.
/// An unreadable factory file stops no save: no save would replace it.
///
/// The cost of a save is a walk over the product and two waits for the disk (more for the first
/// file of a folder and for a file that is kept aside). The mode belongs to the process and goes
/// through the replaceable steps of `SettingsFile`: turning it on or off puts functions of its own
/// into them. To be called while no save runs.
SETTINGSCORE_API void turnOnDurableSaving();

/// From now on saves are made in the library's default way.
SETTINGSCORE_API void turnOffDurableSaving();

}  // namespace settings::core
