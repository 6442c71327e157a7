#pragma once

#include <cstdio>
#include <iosfwd>
#include <memory>
#include <ostream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <settingscore/host/HostApi.hpp>
#include <settingscore/host/UString.hpp>

/// Files and folders of the host. Paths are UTF-16; a name on disk that is not well-formed UTF-8
/// is carried unharmed (each stray byte as a lone surrogate U+DC80 to U+DCFF), so that every entry
/// of a folder can be opened again. A path that holds a NUL names nothing that could be there. All
/// operations may be called by any thread, and each may throw FsysExceptionBase or one of its
/// subclasses unless it says otherwise.
namespace qf::filesystem {

/// Base of all failures of this layer. `what()` names the operation, the path and the reason.
class QBHOST_API FsysExceptionBase : public std::runtime_error {
public:
    /// `errorNumber` is that of the system.
    FsysExceptionBase(std::string const& operation, ustring path, int errorNumber);
    /// The path that the operation was asked for.
    ustring const& path() const { return path_; }
    /// The number of the error, as in `errno`.
    int errorNumber() const { return errorNumber_; }
    /// Text of the error number alone.
    std::string reason() const;

private:
    ustring path_;
    int errorNumber_;
};

/// No permission: EACCES, EPERM, EROFS.
class QBHOST_API AccessDenied : public FsysExceptionBase {
public:
    using FsysExceptionBase::FsysExceptionBase;
};

/// The thing to be made is there already.
class QBHOST_API FileExistsError : public FsysExceptionBase {
public:
    using FsysExceptionBase::FsysExceptionBase;
};

/// The characters that mean something in a path.
struct QBHOST_API upath_constant {
    static ustring const PATHNAME_SEPARATOR;  ///< The characters that separate parts: "/".
    static ustring const CURRENT_DIRECTORY;   ///< "."
    static ustring const PARENT_DIRECTORY;    ///< ".."
};

/// A path. Joining puts exactly one separator between the parts.
class QBHOST_API path {
public:
    path() = default;
    /// @{
    /// The path that the text names, as it stands.
    path(ustring text) : text_(std::move(text)) {}  // NOLINT: a text is a path
    path(char16_t const* text) : text_(text) {}     // NOLINT
    /// @}

    /// The text.
    ustring const& str() const { return text_; }
    /// True for the empty path, which names nothing.
    bool empty() const { return text_.empty(); }
    /// The bytes that the system calls take.
    std::string native() const;
    /// The last part; empty behind a final separator.
    path filename() const;
    /// Everything before the last part, without the separator unless it is the root's.
    path parent_path() const;
    /// From the last "." of the file name on; empty if there is none, and for a name whose only
    /// "." is its first character.
    ustring extension() const;
    /// Begins with a separator.
    bool is_absolute() const;

    /// Joins. An empty right part changes nothing; an empty left part gives the right one.
    friend QBHOST_API path operator/(path const& left, path const& right);
    /// @{
    /// Compares the texts.
    friend bool operator==(path const& a, path const& b) { return a.text_ == b.text_; }
    friend bool operator!=(path const& a, path const& b) { return a.text_ != b.text_; }
    friend bool operator<(path const& a, path const& b) { return a.text_ < b.text_; }
    /// @}

private:
    ustring text_;
};

/// A path from the bytes of the system.
QBHOST_API path from_native(std::string const& bytes);

namespace detail {
/// Begins with a separator.
QBHOST_API bool is_absolute(ustring const& text);
}  // namespace detail

/// `file_type_mask` cuts the kind of a file out of a status.
enum file_status : unsigned {
    no_file = 0,
    regular_file = 1,
    directory_file = 2,
    other_file = 3,
    file_type_mask = 0xf,
    symbolic_link = 0x10,  ///< Beside the kind: the entry itself is a link.
};

/// True if something is there; a dangling link is not. @throws FsysExceptionBase if it can't be
/// found out (AccessDenied for an unreadable parent).
QBHOST_API bool exists(path const& p);
/// Kind of what `p` names, links followed. @throws FsysExceptionBase if it can't be
/// found out.
QBHOST_API unsigned status(path const& p);
/// Makes the folder and its missing parents; parents made before a failure stay.
/// @throws FileExistsError if the folder itself is there already (or something else of that name);
/// AccessDenied, FsysExceptionBase otherwise.
QBHOST_API void create_directories(path const& p);
/// Replaces an existing file or empty folder at once. @throws FileExistsError if the target is a
/// folder that is not empty.
QBHOST_API void rename(path const& from, path const& to);
/// Renames, at once too, but replaces nothing. Where the file system cannot promise that, an empty
/// folder that is made at this very moment can be replaced. @throws FileExistsError
QBHOST_API void rename_to_free_name(path const& from, path const& to);
/// Removes a file or an empty folder. False if nothing was there.
QBHOST_API bool remove(path const& p);
/// Removes a folder with all it holds; follows no links.
QBHOST_API void remove_all(path const& p);
/// Made absolute against `base` (itself made absolute against the working directory); purely
/// textual, "." and ".." parts resolved.
QBHOST_API path absolute(path const& p, path const& base);
/// The last part of a path text.
QBHOST_API ustring extract_filename(ustring const& text);

/// Whether a copy may replace a file.
enum class copy_option { fail_if_exists, overwrite_if_exists };
/// Copies the content of a regular file, and its permission bits where the target allows it. A
/// target that could not be written whole is removed; one that could not be opened is left alone.
/// @throws FileExistsError under `fail_if_exists`, or if both are the same file.
QBHOST_API void copy_file(path const& from, path const& to, copy_option option);

/// Gives a regular file a second name. A file system without links gets a copy, brought to the
/// disk; the entry of the new name is not. @throws FileExistsError if `to` is there already
QBHOST_API void link_or_copy(path const& from, path const& to);

/// @{
/// The permission bits of what `p` names (of 0777), links followed. @throws FsysExceptionBase if
/// they can't be read or set, also if nothing is there.
QBHOST_API unsigned permissions(path const& p);
QBHOST_API void set_permissions(path const& p, unsigned bits);
/// @}

/// C stream on a path, null on failure with `errno` set. Descriptors are closed on exec.
QBHOST_API std::FILE* fopen(path const& p, char const* mode);

/// Directory where the host is installed: what a program set (see the host's own header); else the
/// host's own rule.
QBHOST_API ustring get_install_path();

/// An entry of a folder.
class QBHOST_API upath_directory_entry {
public:
    upath_directory_entry() = default;
    /// The entry of that path.
    explicit upath_directory_entry(path const& full) : full_(full) {}
    /// For the host: the same, with the kind that the folder told; `full` is no link.
    upath_directory_entry(path const& full, file_status kind)
        : full_(full), isKindKnown_(true), kind_(kind) {}
    /// The name within the folder.
    ustring filename() const { return full_.filename().str(); }
    /// The folder, as it was given, and the name.
    path const& full_pathname() const { return full_; }
    /// Kind, links followed, with `symbolic_link` beside it if the entry is a link; a link that is
    /// dangling, or leads where the kind can't be found out, is `other_file`. Where the folder told
    /// the kind when it was read, it is that one; otherwise an entry that is gone by now is
    /// `no_file`. @throws FsysExceptionBase
    unsigned status() const;

private:
    path full_;
    bool isKindKnown_ = false;
    file_status kind_ = no_file;
};

/// The entries of a folder but "." and "..", ordered by the bytes of their names, so that the
/// order is the same on every machine. The folder is read when the iterator is made.
/// @throws FsysExceptionBase if it can't be opened or read.
class QBHOST_API basic_directory_iterator {
public:
    basic_directory_iterator() = default;
    /// The first entry of the folder; a default one stands behind the last of any folder.
    explicit basic_directory_iterator(path const& folder);

    /// @{
    /// As any input iterator.
    upath_directory_entry const& operator*() const { return (*entries_)[index_]; }
    upath_directory_entry const* operator->() const { return &(*entries_)[index_]; }
    basic_directory_iterator& operator++() {
        ++index_;
        return *this;
    }
    /// @}
    /// @{
    /// Compares the places; all ends are equal.
    friend bool operator==(basic_directory_iterator const& a, basic_directory_iterator const& b) {
        return a.atEnd() ? b.atEnd() : !b.atEnd() && a.index_ == b.index_;
    }
    friend bool operator!=(basic_directory_iterator const& a, basic_directory_iterator const& b) {
        return !(a == b);
    }
    /// @}

private:
    bool atEnd() const { return !entries_ || index_ >= entries_->size(); }
    std::shared_ptr<std::vector<upath_directory_entry> const> entries_;
    std::size_t index_ = 0;
};
/// @{
/// For loops over a folder.
inline basic_directory_iterator begin(basic_directory_iterator it) { return it; }
inline basic_directory_iterator end(basic_directory_iterator const&) { return {}; }
/// @}

/// Output stream on a file, opened for truncation. What is written is collected and handed to the
/// file in few large pieces, the last by `close`, in the classic locale; flushing hands over
/// nothing. A failed open sets the failure bit.
class QBHOST_API basic_ofstream : public std::ostream {
public:
    /// Opens the file, an existing one emptied.
    explicit basic_ofstream(path const& p);
    ~basic_ofstream() override;
    basic_ofstream(basic_ofstream const&) = delete;
    basic_ofstream& operator=(basic_ofstream const&) = delete;

    /// True until `close`, if the file could be opened.
    bool is_open() const;
    /// Hands over what is left and closes the file; sets the failure bit if the file was not open
    /// or if any write or the closing failed.
    void close();
    /// Error number of the first failure of open, write, sync or close; 0 if there was none.
    int error() const;
    /// From now on `close` also brings the content to the disk before it closes the file.
    void sync_to_disk_on_close();

private:
    class Buffer;
    std::unique_ptr<Buffer> buffer_;
};

/// Reads a regular file from start to end. @throws FsysExceptionBase if it can't be opened, is no
/// regular file (a pipe would block for ever), or can't be read.
class QBHOST_API sequential_reader {
public:
    /// Opens the file.
    explicit sequential_reader(path const& p);
    ~sequential_reader();
    sequential_reader(sequential_reader const&) = delete;
    sequential_reader& operator=(sequential_reader const&) = delete;
    /// Up to `size` bytes; 0 at the end.
    std::size_t read(char* to, std::size_t size);

private:
    path path_;
    int descriptor_;
};

/// Keeps a folder of this user for one holder, be it in this process or in another, until the end
/// of the scope or of the process, whatever ends it. Renaming the folder changes nothing.
class QBHOST_API folder_claim {
public:
    /// Never waits. @throws AccessDenied if it is another user's; FsysExceptionBase if it can't be
    /// claimed otherwise, as on a file system without locks
    explicit folder_claim(path const& folder);
    ~folder_claim();
    folder_claim(folder_claim const&) = delete;
    folder_claim& operator=(folder_claim const&) = delete;
    /// False if another has it, or if there is no such folder (any more).
    bool is_held() const { return descriptor_ >= 0; }

private:
    int descriptor_ = -1;
};

/// Brings a folder's entries to the disk. @throws FsysExceptionBase
QBHOST_API void sync_directory(path const& folder);

}  // namespace qf::filesystem
