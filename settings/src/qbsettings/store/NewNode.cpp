#include <qbsettings/store/NewNode.hpp>

#include <qbsettings/errors/Errors.hpp>
#include <qbsettings/store/Context.hpp>
#include <qbsettings/store/Names.hpp>
#include <qbsettings/text/Failure.hpp>
#include <settingscore/tree/ZSettings.hpp>

namespace qbsettings {

using settings::core::ZSettings;

std::pair<SettingsPtr, std::string> placeFor(Context& context, std::string const& name) {
    auto const [parentName, ownName] = splitLast(name);
    SettingsPtr const parent =
        parentName.empty() ? context.tree.root() : findGroup(context.tree, parentName);
    if (!parent->isRoot()) context.writing.begin(productOf(parent));
    ZSettings::validateSettingOrGroupName(ownName);
    if (parent->isRoot()) context.writing.beginNew(ownName);
    return {parent, ownName};
}

void attach(Context& context, SettingsPtr const& node, SettingsPtr const& parent,
            std::string const& name) {
    std::string const product = parent->isRoot() ? node->getName() : productOf(parent);
    try {
        boost::dynamic_pointer_cast<ZSettings>(node)->setParent(parent);
    } catch (std::exception const& error) {
        throw Failure(name + ": " + reasonOf(error) + context.writing.afterword(product));
    }
}

}  // namespace qbsettings
