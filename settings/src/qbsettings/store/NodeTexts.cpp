#include <qbsettings/store/NodeTexts.hpp>

#include <algorithm>

#include <qbsettings/store/Directories.hpp>
#include <qbsettings/texts/Languages.hpp>
#include <settingscore/host/Filesystem.hpp>
#include <settingscore/tree/Settings.hpp>

namespace qbsettings {

texts::ProductTexts textsOfProduct(Directories const& directories, std::string const& product,
                                   std::vector<std::string> const& languages) {
    // Without a factory folder a relative path would come out; below this there is nothing.
    if (directories.factory().empty()) return {"/dev/null", product, {}};
    return {qf::filesystem::path(directories.factoryFolder(product)).native(), product, languages};
}

texts::Texts NodeTexts::of(SettingsPtr const& node) { return of(node->getFullName()); }

texts::Texts NodeTexts::of(std::string const& fullName) {
    std::size_t const end = std::min(fullName.find('.'), fullName.size());
    std::string const product = fullName.substr(0, end);
    auto found = products_.find(product);
    if (found == products_.end()) {
        auto const languages = texts::languagesOfMessages();
        found = products_.emplace(product, textsOfProduct(directories_, product, languages)).first;
    }
    return found->second.of(end == fullName.size() ? std::string() : fullName.substr(end + 1));
}

}  // namespace qbsettings
