#include <settingscore/errors/Exceptions.hpp>

#include <gtest/gtest.h>
#include <boost/make_shared.hpp>
#include <settingscore/host/I18n.hpp>

namespace settings::core {
namespace {

using namespace exception;

/// Stands for a node whose address and life are all that matters.
template <class Node>
boost::shared_ptr<Node> node(boost::shared_ptr<int> const& life) {
    return boost::shared_ptr<Node>(life, reinterpret_cast<Node*>(life.get()));
}

auto const life = boost::make_shared<int>();
NodePtr const a = node<Settings const>(life);
boost::shared_ptr<Settings> const writable = node<Settings>(life);

/// Throws an error and looks at it in all the ways in which a caller can. Its text; of a value
/// check behind the code, and with the message if that is another.
template <class Error>
std::string text(Error const& error) {
    try {
        throw error;
    } catch (std::exception const& caught) {
        std::string const what = caught.what();
        EXPECT_TRUE(typeid(caught) == typeid(Error));
        EXPECT_EQ(dynamic_cast<InternalError const&>(caught).what(), what);
        auto const& host = dynamic_cast<qf::except::IInternalException const&>(caught);
        EXPECT_EQ(host.what(), what);
        EXPECT_EQ(qf::i18n::to_string(host.ToUstringImpl()), what);
        auto const* const check = dynamic_cast<ValidationException const*>(&caught);
        if (!check) return what + "\n";
        EXPECT_EQ(check->getCausingObject(), a) << what;
        std::string const message = qf::i18n::to_string(check->getErrorMsg());
        return std::to_string(check->getErrorCode()) + " " + what +
               (message == what ? "" : " " + message) + "\n";
    }
}

/// The texts of the errors, a line each.
template <class... Errors>
std::string texts(Errors const&... errors) {
    return "\n" + (text(errors) + ...);
}

TEST(Exceptions, SayWhatWentWrong) {
    auto const& level = *reinterpret_cast<SettingsLevel const*>(life.get());
    ProductNodeAlreadyExisted const product("P", "p");
    NoFileWritePermission const permission(writable, level, u"file", u"why", u"more", "user");
    ErrorWriteToTempSettingsFile const temp(a, u"file", 24, u"why");
    exception::ErrorMigratePrefsBetweenReleases const prefs("1", "2");
    RuntimeFuncErrorConvertingZxArrayToAny const array("p", "f", typeid(long));
    SettingsException const plugIn("id", "too loud", "volume");
    ErrorLoadingLibrary const library("lib", u"why");
    exception::DataTypeNotMatch const type(a, "int32", "bool");
    EXPECT_EQ(
        texts(NoSuchKey(a, "k"), NoSuchNode(a, "k"), NotAKeyName(a, "k"), NotANodeName(a, "k"),
              UnSupportedLevel(a, "l", "list"), ValueNotDefinedForGivenLevel(a, "l"),
              CantModifyValuesOnReadOnlyLevel(a, "l"), CannotChangeValueForReadOnlySetting(a),
              CannotAddRemoveNodeUnderReadOnlyParent(a, a), CanNotAddKeyToRootException(writable),
              ErrorAddingTopLevelNode("n", "N"), ErrorAddingChildNodeOrKey(a, "n"),
              InvalidSettingOrGroupName("1"), InvalidNodePath(a, "x.y"),
              NoFileWritePermissionOnMultipleLevels(a, "factory, user", "user"),
              CannotMergeWithSettingsRoot(a), ErrorMergingWithCircularReference(a, a),
              CanOnlyMergeTreeNodeWithStandaloneNode(a, a),
              ErrorMergingNodesWithDiffAttr(a, a, u"name, "), MultipleRuntimeFuncError(a),
              CannotExportSettingsRoot(a), CannotExportStandaloneSettings(a),
              ErrorExportMultipleNodesBelongsToDiffProducts("p", "q"),
              ErrorExportOrImportSettingsUsingRelativePath(u"p"),
              ErrorCreateFactoryFileFromATreeNode(a), ErrorSaveSettingsDueToFileIOError(a, u"f"),
              ErrorReadingSettingsData(LazyLoadFailed, u"d"),
              RelativePreferencePathNotSupported("prefs"), library,
              RunTimeFuncInvokingError("f", "p", u"why"),
              ValidationFunctionInvokingError("f", "p", u"why"), CannotAddKeyToRoot("k"), product,
              SameNameChildAlreadyExisted(a, "n"), permission, temp, prefs,
              ErrorMigrateSettingsBetweenReleases(u"1", u"2"), array, AttemptToGetValueFromVoid(),
              plugIn, DataArraySizeOutOfRange(a, 1, 2, 3), DefaultValidationFailedOnVoidType(a),
              UnsupportedType(a, "long"),
              ValueIsNotOneOfTheChoicesAndNotInRange(a, u"1", u"2", u"3", u"4"),
              ValueIsNotInRange(a, u"1", u"2", u"3"), type,
              ExceptionFromValidationFunction(a, "k", 5, "f", "p", u"said")),
        R"(
The request setting does not exist.
The sub Settings node does not exist.
The input name is a sub node name under the parent node. It is not a settings name.
The input name is a settings name under the parent node. It is not a sub node name.
The level specified is not a supported level.
No value is not defined for this setting on the given level
The Settings file on the give level is read-only
The setting is read-only, cannot change its value.
The parent group object is read-only. Cannot add/remove node to/from it.
Can't add key to the Settings root
The product name has already existed. Product name cannot only vary by case.
The parent object contains a child with the same name already.
Setting or group name should be a valid ZENBAR variable name
The setting name (could be dot separated path) does not represent a valid setting
Need to update multiple Settings file, but don't have write permission on some levels.
Users can only  merge settings with product node or sub-product node. Users cannot merge settings directly with Settings root.
Cannot merge two settings who has same ancestor.
Cannot only merge a node on the tree with a standalone node.
The nodes should be the same, but they have different attributes' value. Cannot merge them.
There are multiple runtime function defined on this key. This is not allowed.
Users can only export product node or sub product node.
Users can only export settings node on the settings tree.
The exported node belongs to the different product.
The Settings import or export function can only take full path
Cannot create a factory file from a settings node on the Settings tree. Please create/edit factory file with a standalone node.
Error open a file stream for write.
Error reading setting's value for various reasons, please refer to detailedInfo for more information.
Unable to start ZENBAR. The preference folder path must be an absolute path.
Error loading the library, please refer to error message for reasons.
Error invoking runtime function. Please refer to error message for detail.
Error invoking validation function. Please refer to error message for detail.
Settings root cannot contain any setting
Product node already existed. The product node name cannot only be different by case.
Error add node, same name child has already existed.
Cannot write to the level specified. You may not have write permission on that level.
Cannot open a temp file to save the Settings object. It could be due to out of file handle or other reasons.
Error copying the files from the previous release prefdir to the current release prefdir.
Error migrating settings from previous release to the current release.
The runtime function returns an zxArray that is not convertible to a supported type.
Attempt to retrieve value from a void boost::any variable.
too loud
0 The array size is out of range 
1 The value passed in is void
1 The type of the value passed in is not on the supported list.
2 The value passed in is not one of the predefined choices and/or it is not in the predefined range.
3 The value passed in is not in the predefined range
5 The type of the value passed in does not match the type in the setting definition.
6 Exception thrown by the validation function. said
)");
    EXPECT_EQ(product.getExistingName() + product.getInputName() + permission.getLevelName() +
                  prefs.getPrevFullRelTag() + prefs.getCurrFullRelTag() + array.getPackageName() +
                  array.getFunctionName() + plugIn.msgId() + plugIn.exceptionKey() +
                  library.getLibName() + type.getExpectedTypeName() + type.getActualTypeName(),
              "Ppuser12pfidvolumelibint32bool");
    EXPECT_EQ(permission.getCausingFilePath() + permission.getAdditionalInfo() +
                  temp.getCausingFilePath() + temp.getReasonStr(),
              u"filemorefilewhy");
    EXPECT_TRUE(array.getTypeInfo() == typeid(long));
    EXPECT_EQ(LazyLoadFailed + 0, 7) << "the numbers are part of the interface";
}

TEST(Exceptions, KeepTheirNodesAlive) {
    auto shortLife = boost::make_shared<int>(3);
    boost::weak_ptr<int> const watch = shortLife;
    try {
        NodePtr const dying = node<Settings const>(shortLife);
        shortLife.reset();
        throw ValueIsNotInRange(dying, u"", u"", u"");
    } catch (ValidationException const& caught) {
        EXPECT_TRUE(caught.getCausingObject() && !watch.expired());
    }
    EXPECT_TRUE(watch.expired());
}

}  // namespace
}  // namespace settings::core
