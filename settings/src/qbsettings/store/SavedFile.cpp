#include <qbsettings/store/SavedFile.hpp>

#include <qbsettings/store/KeyState.hpp>
#include <qbsettings/text/Text.hpp>
#include <qbsettings/text/Values.hpp>
#include <settingscore/host/Filesystem.hpp>
#include <settingscore/tree/Settings.hpp>

namespace qbsettings {

namespace {

void collect(SettingsPtr const& node, std::map<std::string, boost::any>& values) {
    for (SettingsPtr const& child : node->getChildren()) {
        if (!child->isLeafNode()) {
            collect(child, values);
            continue;
        }
        values[child->getFullName()] =
            isStoredOn(child, "user") ? valueOn(child, "user") : boost::any();
    }
}

}  // namespace

SavedFile::SavedFile(qf::ustring const& file) {
    try {
        collect(settings::core::Settings::importAsStandaloneObject(file), values_);
    } catch (std::exception const&) {
        values_.clear();
    }
}

bool SavedFile::holds(std::string const& name, boost::any const& value) const {
    auto const found = values_.find(name);
    if (found == values_.end()) return false;
    return value.empty() || (!found->second.empty() && isSame(value, found->second));
}

std::string savedText(std::string const& done, std::vector<std::string> const& names,
                      std::vector<std::string> const& missing) {
    std::string text;
    if (!names.empty()) text = done + ": " + join(names, ", ");
    if (!missing.empty())
        text += (text.empty() ? "" : "; ") + ("not " + done) + ": " + join(missing, ", ");
    return text;
}

std::optional<std::string> bytesOf(qf::ustring const& file) {
    std::string bytes;
    try {
        if (!qf::filesystem::exists(file)) return bytes;
        qf::filesystem::sequential_reader reader(file);
        std::string piece(std::size_t{1} << 16, '\0');
        while (std::size_t const count = reader.read(piece.data(), piece.size()))
            bytes.append(piece, 0, count);
    } catch (qf::filesystem::FsysExceptionBase const&) {
        return std::nullopt;
    }
    return bytes;
}

}  // namespace qbsettings
