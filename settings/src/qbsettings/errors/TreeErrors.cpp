// Texts of errors about names, levels and trees.

#include <qbsettings/errors/Errors.hpp>
#include <qbsettings/errors/Teller.hpp>
#include <qbsettings/text/Text.hpp>
#include <settingscore/errors/Exceptions.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/tree/Settings.hpp>

namespace qbsettings {

using namespace settings::core::exception;
using qf::i18n::to_string;
using settings::core::Settings;

namespace {

std::string theNode(boost::shared_ptr<Settings const> const& node) {
    std::string const name = nameOf(node);
    return name.empty() ? "the node" : name;
}

std::string levels(std::string list) {
    while (!list.empty() && (list.back() == '\n' || list.back() == ' ' || list.back() == ',')) {
        list.pop_back();
    }
    return list;
}

void tellNames(Teller& teller) {
    teller
        .when<NoSuchKey>(
            [](auto const& e) { return "there is no key " + inQuotes(e.getInputName()); })
        .when<NoSuchNode>(
            [](auto const& e) { return "there is no group " + inQuotes(e.getInputName()); })
        .when<NotAKeyName>(
            [](auto const& e) { return inQuotes(e.getInputName()) + " is a group, not a key"; })
        .when<NotANodeName>(
            [](auto const& e) { return inQuotes(e.getInputName()) + " is a key, not a group"; })
        .when<InvalidNodePath>(
            [](auto const& e) { return "there is no key " + inQuotes(e.getInvalidName()); })
        .when<InvalidSettingOrGroupName>([](auto const& e) {
            return inQuotes(e.getInputNodeName()) +
                   " is not a legal name: a letter, then letters, digits and '_', at most 63, and "
                   "not a reserved word of the host's language";
        })
        .when<ErrorAddingTopLevelNode>([](auto const& e) {
            return "there is already a product " + inQuotes(e.getExistingProductName()) +
                   ", and product names may not differ only in case";
        })
        .when<ProductNodeAlreadyExisted>([](auto const& e) {
            return "there is already a product " + inQuotes(e.getExistingName());
        })
        .when<ErrorAddingChildNodeOrKey>([](auto const& e) {
            return theNode(e.getObjectInvovled()) + " already has a " +
                   inQuotes(e.getExistingNodeKeyName());
        })
        .when<SameNameChildAlreadyExisted>([](auto const& e) {
            return theNode(e.getObjectInvovled()) + " already has a " + inQuotes(e.getInputName());
        })
        .when<CanNotAddKeyToRootException>(
            [](auto const&) { return "a key belongs to a product; name it PRODUCT.KEY"; })
        .when<CannotAddKeyToRoot>(
            [](auto const&) { return "a key belongs to a product; name it PRODUCT.KEY"; });
}

void tellLevels(Teller& teller) {
    teller
        .when<UnSupportedLevel>([](auto const& e) {
            return "there is no level " + inQuotes(e.getInputLevel()) + "; the levels are " +
                   levels(e.getSupportedLevelList());
        })
        .when<ValueNotDefinedForGivenLevel>([](auto const& e) {
            return "it has no value on the level " + inQuotes(e.getInputLevel());
        })
        .when<CantModifyValuesOnReadOnlyLevel>([](auto const& e) {
            return "the level " + inQuotes(e.getLevelToModify()) +
                   " cannot be changed; 'user' and 'session' can";
        })
        .when<CannotAddRemoveNodeUnderReadOnlyParent>([](auto const& e) {
            return "the group " + inQuotes(nameOf(e.getParentObject())) +
                   " is read-only: nothing in it can be added, removed or unset";
        })
        .when<NoFileWritePermissionOnMultipleLevels>([](auto const& e) {
            return "it has values on the levels " + e.getLevelNeedToBeUpdated() +
                   ", of which only " + e.getLevelsHasWritenPermissionOn() + " can be changed";
        });
}

void tellMerges(Teller& teller) {
    teller
        .when<CannotMergeWithSettingsRoot>([](auto const&) {
            return "settings can only be imported into a product or a group in one";
        })
        .when<ErrorMergingWithCircularReference>(
            [](auto const&) { return "a tree cannot be merged with a part of itself"; })
        .when<CanOnlyMergeTreeNodeWithStandaloneNode>(
            [](auto const&) { return "the settings to import are already in the tree"; })
        .when<ErrorMergingNodesWithDiffAttr>([](auto const& e) {
            return theNode(e.getDesObject()) +
                   " is declared differently there: " + levels(to_string(e.getDiffAttrNameList())) +
                   " differs";
        })
        .when<MultipleRuntimeFuncError>([](auto const& e) {
            return theNode(e.getCausingObject()) + " already has a computed default";
        })
        .when<CannotExportSettingsRoot>([](auto const&) {
            return "only a product or a part of one can be exported, not the root";
        })
        .when<CannotExportStandaloneSettings>(
            [](auto const& e) { return theNode(e.getObjectInvovled()) + " is not in the tree"; })
        .when<ErrorExportMultipleNodesBelongsToDiffProducts>([](auto const& e) {
            return "a file holds one product, but " + inQuotes(e.getProduct1Name()) + " and " +
                   inQuotes(e.getProduct2Name()) + " were named";
        })
        .when<ErrorCreateFactoryFileFromATreeNode>(
            [](auto const& e) { return theNode(e.getObjectInvovled()) + " is in the tree"; });
}

}  // namespace

void tellTrees(Teller& teller) {
    tellNames(teller);
    tellLevels(teller);
    tellMerges(teller);
}

}  // namespace qbsettings
