#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include <stdlib.h>
#include <settingscore/host/I18n.hpp>
#include <settingscore/host/UString.hpp>

/// What tests need of the machine: a folder of their own and an environment that goes back to what
/// it was.
namespace qbtest {

/// A new folder that is removed, with all it holds, at the end of the scope.
class TempFolder {
public:
    TempFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "qbtest-XXXXXX").string();
        if (::mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary folder");
        path_ = std::filesystem::canonical(name);
    }
    TempFolder(TempFolder const&) = delete;
    TempFolder& operator=(TempFolder const&) = delete;
    ~TempFolder() {
        std::error_code ignored;
        // A test may have taken permissions away.
        for (std::filesystem::recursive_directory_iterator it(path_, ignored), end; it != end;
             it.increment(ignored)) {
            if (it->is_directory(ignored) && !it->is_symlink(ignored))
                std::filesystem::permissions(it->path(), std::filesystem::perms(0700), ignored);
        }
        std::filesystem::remove_all(path_, ignored);
    }
    std::filesystem::path const& path() const { return path_; }

private:
    std::filesystem::path path_;
};

/// Changes environment variables until the end of the scope.
class ScopedEnvironment {
public:
    ScopedEnvironment() = default;
    ScopedEnvironment(ScopedEnvironment const&) = delete;
    ~ScopedEnvironment() {
        for (auto const& [name, value] : before_)
            put(name, value ? value->c_str() : nullptr);
    }
    void set(std::string const& name, std::string const& value) { change(name, value.c_str()); }
    void unset(std::string const& name) { change(name, nullptr); }

private:
    static void put(std::string const& name, char const* value) {
        value ? ::setenv(name.c_str(), value, 1) : ::unsetenv(name.c_str());
    }
    void change(std::string const& name, char const* value) {
        char const* const old = std::getenv(name.c_str());
        before_.emplace(name, old ? std::optional<std::string>(old) : std::nullopt);
        put(name, value);
    }
    std::map<std::string, std::optional<std::string>> before_;
};

/// Writes a file and the folders above it; returns its path.
inline std::filesystem::path writeFile(std::filesystem::path const& path, std::string const& text) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream stream(path, std::ios::binary | std::ios::trunc);
    stream << text << std::flush;
    if (!stream) throw std::runtime_error("cannot write " + path.string());
    return path;
}

/// The whole file. @throws std::runtime_error if there is none
inline std::string readFile(std::filesystem::path const& path) {
    std::ifstream stream(path, std::ios::binary);
    if (!stream) throw std::runtime_error("cannot read " + path.string());
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

/// All files below a folder with their whole content, by relative path; a folder is an entry with
/// a "/" at its end.
inline std::map<std::string, std::string> readTree(std::filesystem::path const& folder) {
    std::map<std::string, std::string> tree;
    if (!std::filesystem::exists(folder)) return tree;
    for (auto const& entry : std::filesystem::recursive_directory_iterator(folder)) {
        std::string const name = entry.path().lexically_relative(folder).string();
        if (entry.is_symlink())
            tree[name] = "link to " + std::filesystem::read_symlink(entry.path()).string();
        else if (entry.is_directory())
            tree[name + "/"];
        else
            tree[name] = entry.is_regular_file() ? readFile(entry.path()) : "special file";
    }
    return tree;
}

inline qf::ustring toUString(std::filesystem::path const& path) {
    return qf::i18n::to_ustring(path.string());
}

}  // namespace qbtest
