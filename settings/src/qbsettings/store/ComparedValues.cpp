#include <qbsettings/store/ComparedValues.hpp>

#include <algorithm>
#include <vector>

#include <qbsettings/output/Terminal.hpp>
#include <qbsettings/store/Context.hpp>
#include <qbsettings/store/KeyState.hpp>
#include <qbsettings/store/Levels.hpp>
#include <qbsettings/store/SettingsFiles.hpp>
#include <qbsettings/text/Failure.hpp>
#include <qbsettings/text/Near.hpp>
#include <qbsettings/text/Text.hpp>
#include <settingscore/host/Filesystem.hpp>
#include <settingscore/tree/Settings.hpp>

namespace qbsettings {

namespace {

namespace fs = qf::filesystem;

/// Calls `visit` with each key.
template <class Visit>
void visitKeys(Tree& tree, SettingsPtr const& node, Visit const& visit) {
    if (node->isLeafNode()) visit(node);
    for (SettingsPtr const& child : tree.childrenOf(node))
        visitKeys(tree, child, visit);
}

/// True if the key has a value on that level or below that is not the factory's.
bool isUsers(SettingsPtr const& key, std::string const& level) {
    return (level != "factory" && isStoredOn(key, "user")) ||
           (level == "session" && isStoredOn(key, level));
}

void collect(SettingsPtr const& node, ComparedValues& side) {
    for (SettingsPtr const& child : node->getChildren()) {
        if (!child->isLeafNode()) {
            collect(child, side);
        } else if (isStoredOn(child, "user")) {
            side.entries[child->getFullName()] = {typeOf(settings::core::describeKey(child)),
                                                  valueOn(child, "user")};
        }
    }
}

std::vector<std::string> settingsFilesIn(fs::path const& folder) {
    std::vector<std::string> files;
    for (fs::path const file : Directories::filesIn(folder.str())) {
        if (file.extension() == u".settings") files.push_back(file.native());
    }
    std::sort(files.begin(), files.end());
    return files;
}

}  // namespace

ComparedValues valuesOfFiles(std::string const& path) {
    fs::path const place = fs::absolute(fs::from_native(path), fs::path());
    if (!fs::exists(place)) {
        throw Failure(nothingThere, "there is no level, file or folder " + inQuotes(asLine(path)) +
                                        suggestion(path, levelNames()));
    }
    ComparedValues side;
    if ((fs::status(place) & fs::file_type_mask) == fs::directory_file) {
        std::vector<std::string> const files = settingsFilesIn(place);
        Progress progress("reading file", files.size());
        for (std::string const& file : files) {
            progress.step();
            collect(readSettingsFile(file), side);
        }
    } else {
        SettingsPtr const product = readSettingsFile(path);
        collect(product, side);
        side.products = {product->getName()};
    }
    return side;
}

ComparedValues valuesOfLevel(Context& context, std::string const& level,
                             ComparedValues const* files) {
    ComparedValues side;
    auto const add = [&](SettingsPtr const& key) {
        std::string const name = key->getFullName();
        if (files && files->entries.count(name) == 0 && !isUsers(key, level)) return;
        KeyState const state = readKey(key, level);
        if (!state.problem.empty()) {
            side.failed[name] = state.problem;
        } else if (!state.value.empty()) {
            side.entries[name] = {typeOf(state.description), state.value};
        }
    };
    auto const products = context.tree.products();
    Progress progress("reading product", products.size());
    for (SettingsPtr const& product : products) {
        progress.step();
        bool const isAskedFor =
            !files || !files->products || files->products->count(product->getName()) != 0;
        if (isAskedFor) visitKeys(context.tree, product, add);
    }
    return side;
}

}  // namespace qbsettings
