#include <qbsettings/Saved.hpp>

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <map>
#include <vector>

#include <boost/any.hpp>
#include <qbsettings/Errors.hpp>
#include <qbsettings/Failure.hpp>
#include <qbsettings/Faults.hpp>
#include <qbsettings/Text.hpp>
#include <qbsettings/Values.hpp>
#include <settingscore/host/Filesystem.hpp>
#include <settingscore/tree/KeyDescription.hpp>
#include <settingscore/tree/Settings.hpp>

namespace qbsettings {

using settings::core::Settings;
using ValueMap = std::map<std::string, boost::any>;

namespace {

/// The values on the level "user" by name.
void collect(boost::shared_ptr<Settings const> const& node, ValueMap& values) {
    for (auto const& child : node->getChildren()) {
        if (!child->isLeafNode()) {
            collect(child, values);
            continue;
        }
        auto const stored = settings::core::describeKey(child).storedLevels;
        if (std::find(stored.begin(), stored.end(), "user") == stored.end()) continue;
        values[child->getFullName()] = node->getAny(child->getName(), "user");
    }
}

/// The first name whose value differs; empty if none does.
std::string firstDifference(ValueMap const& a, ValueMap const& b) {
    for (auto const& [name, value] : a) {
        auto const other = b.find(name);
        if (other == b.end() || !isSame(value, other->second)) return name;
    }
    for (auto const& entry : b) {
        if (a.count(entry.first) == 0) return entry.first;
    }
    return {};
}

[[noreturn]] void notSaved(std::string const& name, qf::ustring const& file) {
    std::string const reason = whyUnwritable(file);
    throw Failure(name + ": the change could not be saved in " + pathText(file) + ": " +
                  (reason.empty() ? "it does not hold the change" : reason));
}

}  // namespace

std::string whyUnwritable(qf::ustring const& file) {
    qf::filesystem::path const path(file);
    for (auto const& place : {path, path.parent_path()}) {
        if (::access(place.native().c_str(), W_OK) != 0 && errno != ENOENT) {
            return std::strerror(errno);
        }
    }
    return {};
}

void confirmSaved(Context& context, std::string const& product) {
    qf::ustring const file = context.userFile(product);
    auto const node = context.root()->getChild(product);
    bool const exists = qf::filesystem::exists(file);
    if (!node) {
        if (exists) notSaved(product, file);
        return;
    }
    ValueMap wanted;
    collect(node, wanted);
    ValueMap found;
    if (exists) {
        try {
            collect(Settings::importAsStandaloneObject(file), found);
        } catch (std::exception const& error) {
            throw Failure(product + ": what was saved cannot be read back: " +
                          faultOfImport(file, error).toText());
        }
    }
    std::string const name = firstDifference(wanted, found);
    if (!name.empty()) notSaved(name, file);
}

}  // namespace qbsettings
