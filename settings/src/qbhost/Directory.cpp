#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <memory>
#include <string_view>

#include <dirent.h>
#include <fcntl.h>

#include <qbhost/FsysError.hpp>

namespace qf::filesystem {

namespace {

struct Listed {
    std::string name;
    unsigned char type;
};

/// Of a link, what it leads to counts, which no folder tells.
upath_directory_entry entryFor(path const& full, unsigned char type) {
    switch (type) {
        case DT_LNK:
        case DT_UNKNOWN:
            return upath_directory_entry(full);
        case DT_REG:
            return {full, regular_file};
        case DT_DIR:
            return {full, directory_file};
        default:
            return {full, other_file};
    }
}

/// Without a stream, which would ask for the status of the folder and take room for a large one.
std::vector<Listed> listed(path const& folder) {
    char const* const operation = "cannot read the folder";
    qbhost::detail::Descriptor const descriptor(qbhost::detail::openRetrying(
        qbhost::detail::nativePath(operation, folder).c_str(), O_RDONLY | O_DIRECTORY));
    if (!descriptor.isOpen()) qbhost::detail::failFsys(operation, folder, errno);

    std::vector<Listed> entries;
    constexpr std::size_t size = std::size_t{16} * 1024;
    alignas(dirent64) char room[size];
    for (;;) {
        long const length = ::getdents64(descriptor.get(), room, size);
        // A folder that has been removed meanwhile holds nothing.
        if (length == 0 || (length < 0 && errno == ENOENT)) break;
        if (length < 0) qbhost::detail::failFsys(operation, folder, errno);
        for (char const* at = room; at < room + length;) {
            auto const* const entry = reinterpret_cast<dirent64 const*>(at);
            std::string_view const name = entry->d_name;
            if (name != "." && name != "..") entries.push_back({std::string(name), entry->d_type});
            at += entry->d_reclen;
        }
    }
    std::sort(entries.begin(), entries.end(),
              [](Listed const& a, Listed const& b) { return a.name < b.name; });
    return entries;
}

}  // namespace

basic_directory_iterator::basic_directory_iterator(path const& folder) {
    auto entries = std::make_shared<std::vector<upath_directory_entry>>();
    std::vector<Listed> const all = listed(folder);
    entries->reserve(all.size());
    for (Listed const& entry : all)
        entries->push_back(entryFor(folder / from_native(entry.name), entry.type));
    entries_ = std::move(entries);
}

}  // namespace qf::filesystem
