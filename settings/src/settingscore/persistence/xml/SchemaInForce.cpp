#include <settingscore/persistence/xml/SchemaInForce.hpp>

#include <map>
#include <mutex>

#include <settingscore/host/UString.hpp>
#include <settingscore/persistence/xml/FileSource.hpp>
#include <settingscore/value/NeverDestroyed.hpp>

namespace settings::core {

namespace {

constexpr std::size_t longestSchema = std::size_t(1) << 20;

/// The schemas that have been read, each for its place: true for one that is ours.
struct Known {
    std::mutex mutex;
    std::map<ustring, bool> isOurs;
};

Known& known() {
    static auto& all = detail::neverDestroyed<Known>();
    return all;
}

}  // namespace

SchemaInForce::SchemaInForce()
    : file_(qf::filesystem::path(qf::filesystem::get_install_path()) /
            u"settings/src/settingscore/settings.xsd") {
    Known& all = known();
    // Held while the file is read: what one thread finds there counts for all.
    std::lock_guard<std::mutex> const lock(all.mutex);
    auto const found = all.isOurs.find(file_.str());
    if (found == all.isOurs.end()) {
        auto file = std::make_unique<FileSource>(file_);
        if (file->takeWhole(longestSchema)) {
            isOurs_ = file->taken() == builtIn();
            all.isOurs.emplace(file_.str(), isOurs_);
        }
        bytes_ = std::move(file);
    } else {
        isOurs_ = found->second;
        if (!isOurs_) bytes_ = std::make_unique<FileSource>(file_);
    }
    if (isOurs_) bytes_ = std::make_unique<TextSource>(builtIn());
}

}  // namespace settings::core
