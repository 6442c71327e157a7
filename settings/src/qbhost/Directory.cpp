#include <algorithm>
#include <cerrno>
#include <memory>
#include <string_view>

#include <dirent.h>

#include <qbhost/FsysError.hpp>

namespace qf::filesystem {

basic_directory_iterator::basic_directory_iterator(path const& folder) {
    char const* const operation = "cannot read the folder";
    std::string const bytes = qbhost::detail::nativePath(operation, folder);
    std::unique_ptr<DIR, int (*)(DIR*)> stream(nullptr, ::closedir);
    do {
        stream.reset(::opendir(bytes.c_str()));
    } while (!stream && errno == EINTR);
    if (!stream) qbhost::detail::failFsys(operation, folder, errno);

    std::vector<std::string> names;
    for (;;) {
        errno = 0;
        dirent const* const entry = ::readdir(stream.get());
        if (!entry) break;
        std::string_view const name = entry->d_name;
        if (name != "." && name != "..") names.emplace_back(name);
    }
    if (errno != 0) qbhost::detail::failFsys(operation, folder, errno);
    std::sort(names.begin(), names.end());

    auto entries = std::make_shared<std::vector<upath_directory_entry>>();
    entries->reserve(names.size());
    for (std::string const& name : names)
        entries->emplace_back(folder / from_native(name));
    entries_ = std::move(entries);
}

}  // namespace qf::filesystem
