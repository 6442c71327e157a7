#include <settingscore/errors/Exceptions.hpp>

#include <cstring>
#include <exception>
#include <typeinfo>

#include <gtest/gtest.h>
#include <boost/make_shared.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/weak_ptr.hpp>

namespace settings::core {
namespace {

using namespace exception;

/// Stands for a node whose address and life are all that matters.
template <class Node>
boost::shared_ptr<Node> node(boost::shared_ptr<int> const& life) {
    return boost::shared_ptr<Node>(life, reinterpret_cast<Node*>(life.get()));
}

auto const first = boost::make_shared<int>(1);
auto const second = boost::make_shared<int>(2);
NodePtr const a = node<Settings const>(first);
NodePtr const b = node<Settings const>(second);
boost::shared_ptr<Settings> const writable = node<Settings>(first);

/// Looks at an error in all the ways in which a caller can.
void expectText(std::exception const& caught, char const* text) {
    SCOPED_TRACE(text);
    EXPECT_STREQ(caught.what(), text);
    ASSERT_TRUE(dynamic_cast<InternalError const*>(&caught));
    auto const* const internal = dynamic_cast<qf::except::IInternalException const*>(&caught);
    ASSERT_TRUE(internal);
    EXPECT_STREQ(internal->what(), text);
    EXPECT_EQ(internal->ToUstringImpl(), ustring(text, text + std::strlen(text)));
}

/// Throws a copy that is caught as what everything is.
template <class Error>
void expectThrown(Error const& error, char const* text) {
    try {
        throw error;
    } catch (std::exception const& caught) {
        EXPECT_TRUE(typeid(caught) == typeid(Error)) << text;
        expectText(caught, text);
    }
}

/// The same for the value checks, whose message is the text.
void expectCheck(ValidationException const& error, int code, char const* text) {
    expectText(error, text);
    EXPECT_EQ(error.getErrorCode(), code) << text;
    EXPECT_EQ(error.getErrorMsg(), ustring(text, text + std::strlen(text)));
    EXPECT_EQ(error.getCausingObject(), a) << text;
}

TEST(Exceptions, OfTheTreeSayWhatWasAsked) {
    expectThrown(NoSuchKey(a, "k"), "The request setting does not exist.");
    expectThrown(NoSuchNode(a, "k"), "The sub Settings node does not exist.");
    expectThrown(NotAKeyName(a, "k"),
                 "The input name is a sub node name under the parent node. It is not a settings "
                 "name.");
    expectThrown(NotANodeName(a, "k"),
                 "The input name is a settings name under the parent node. It is not a sub node "
                 "name.");
    expectThrown(UnSupportedLevel(a, "l", "list"), "The level specified is not a supported level.");
    expectThrown(ValueNotDefinedForGivenLevel(a, "l"),
                 "No value is not defined for this setting on the given level");
    expectThrown(CantModifyValuesOnReadOnlyLevel(a, "l"),
                 "The Settings file on the give level is read-only");
    expectThrown(CannotChangeValueForReadOnlySetting(a),
                 "The setting is read-only, cannot change its value.");
    expectThrown(CannotAddRemoveNodeUnderReadOnlyParent(a, b),
                 "The parent group object is read-only. Cannot add/remove node to/from it.");
    expectThrown(CanNotAddKeyToRootException(writable), "Can't add key to the Settings root");
    expectThrown(ErrorAddingTopLevelNode("n", "N"),
                 "The product name has already existed. Product name cannot only vary by case.");
    expectThrown(ErrorAddingChildNodeOrKey(a, "n"),
                 "The parent object contains a child with the same name already.");
    expectThrown(InvalidSettingOrGroupName("1"),
                 "Setting or group name should be a valid ZENBAR variable name");
    expectThrown(
        InvalidNodePath(a, "x.y"),
        "The setting name (could be dot separated path) does not represent a valid setting");
    expectThrown(NoFileWritePermissionOnMultipleLevels(a, "factory, user", "user"),
                 "Need to update multiple Settings file, but don't have write permission on some "
                 "levels.");

    EXPECT_EQ(NoSuchKey(a, "k").getObjectInvovled(), a);
    EXPECT_EQ(NoSuchKey(a, "k").getInputName(), "k");
    EXPECT_EQ(UnSupportedLevel(a, "l", "list").getInputLevel(), "l");
    EXPECT_EQ(UnSupportedLevel(a, "l", "list").getSupportedLevelList(), "list");
    EXPECT_EQ(CannotAddRemoveNodeUnderReadOnlyParent(a, b).getChildObject(), a);
    EXPECT_EQ(CannotAddRemoveNodeUnderReadOnlyParent(a, b).getParentObject(), b);
    EXPECT_EQ(ErrorAddingTopLevelNode("n", "N").getProductNamePassedIn(), "n");
    EXPECT_EQ(ErrorAddingTopLevelNode("n", "N").getExistingProductName(), "N");
    NoFileWritePermissionOnMultipleLevels const levels(a, "factory, user", "user");
    EXPECT_EQ(levels.getLevelNeedToBeUpdated(), "factory, user");
    EXPECT_EQ(levels.getLevelsHasWritenPermissionOn(), "user");
}

TEST(Exceptions, OfMergesAndFilesSayWhatDidNotFit) {
    expectThrown(
        CannotMergeWithSettingsRoot(a),
        "Users can only  merge settings with product node or sub-product node. Users cannot "
        "merge settings directly with Settings root.");
    expectThrown(ErrorMergingWithCircularReference(a, b),
                 "Cannot merge two settings who has same ancestor.");
    expectThrown(CanOnlyMergeTreeNodeWithStandaloneNode(a, b),
                 "Cannot only merge a node on the tree with a standalone node.");
    expectThrown(ErrorMergingNodesWithDiffAttr(a, b, u"name, "),
                 "The nodes should be the same, but they have different attributes' value. Cannot "
                 "merge them.");
    expectThrown(MultipleRuntimeFuncError(a),
                 "There are multiple runtime function defined on this key. This is not allowed.");
    expectThrown(CannotExportSettingsRoot(a),
                 "Users can only export product node or sub product node.");
    expectThrown(CannotExportStandaloneSettings(a),
                 "Users can only export settings node on the settings tree.");
    expectThrown(ErrorExportMultipleNodesBelongsToDiffProducts("p", "q"),
                 "The exported node belongs to the different product.");
    expectThrown(ErrorExportOrImportSettingsUsingRelativePath(u"p"),
                 "The Settings import or export function can only take full path");
    expectThrown(ErrorCreateFactoryFileFromATreeNode(a),
                 "Cannot create a factory file from a settings node on the Settings tree. Please "
                 "create/edit factory file with a standalone node.");
    expectThrown(ErrorSaveSettingsDueToFileIOError(a, u"f"), "Error open a file stream for write.");
    expectThrown(ErrorReadingSettingsData(LazyLoadFailed, u"d"),
                 "Error reading setting's value for various reasons, please refer to detailedInfo "
                 "for more information.");
    expectThrown(RelativePreferencePathNotSupported("prefs"),
                 "Unable to start ZENBAR. The preference folder path must be an absolute path.");

    ErrorMergingWithCircularReference const circle(a, b);
    EXPECT_EQ(circle.getObjectInvovled(), a);
    EXPECT_EQ(circle.getCausingObject(), b);
    ErrorMergingNodesWithDiffAttr const differing(a, b, u"name, ");
    EXPECT_EQ(differing.getSrcObject(), a);
    EXPECT_EQ(differing.getDesObject(), b);
    EXPECT_EQ(differing.getDiffAttrNameList(), u"name, ");
    ErrorExportMultipleNodesBelongsToDiffProducts const products("p", "q");
    EXPECT_EQ(products.getProduct1Name() + products.getProduct2Name(), "pq");
    EXPECT_EQ(ErrorExportOrImportSettingsUsingRelativePath(u"p").getObjectInvovled(), NodePtr());
    EXPECT_EQ(ErrorExportOrImportSettingsUsingRelativePath(a, u"p").getObjectInvovled(), a);
    EXPECT_EQ(ErrorExportOrImportSettingsUsingRelativePath(a, u"p").getRelativePath(), u"p");
    EXPECT_EQ(ErrorReadingSettingsData(LazyLoadFailed, u"d").getErrorCode(), 7);
    EXPECT_EQ(ErrorReadingSettingsData(ParseFailed, u"d").getErrorCode(), 4);
    EXPECT_EQ(ErrorReadingSettingsData(ParseFailed, u"d").getDetailErrorMsg(), u"d");
    RelativePreferencePathNotSupported const relative("prefs");
    EXPECT_EQ(relative.getPrefdirLocation(), "prefs");
    EXPECT_EQ(relative.getErrorMessage(),
              "Unable to start ZENBAR. Relative path for preferences directory ('prefs') is not "
              "supported");
}

TEST(Exceptions, OfFunctionsNameFunctionAndPackage) {
    expectThrown(ErrorLoadingLibrary("lib", u"why"),
                 "Error loading the library, please refer to error message for reasons.");
    expectThrown(RunTimeFuncInvokingError("f", "p", u"why"),
                 "Error invoking runtime function. Please refer to error message for detail.");
    expectThrown(ValidationFunctionInvokingError("f", "p", u"why"),
                 "Error invoking validation function. Please refer to error message for detail.");

    EXPECT_EQ(ErrorLoadingLibrary("lib", u"why").getLibName(), "lib");
    EXPECT_EQ(ErrorLoadingLibrary("lib", u"why").getErrorMsg(), u"why");
    RunTimeFuncInvokingError const computing("f", "p", u"why");
    EXPECT_EQ(computing.getFunctionName() + computing.getPackageName(), "fp");
    ValidationFunctionInvokingError const validating("f", "p", u"why");
    EXPECT_EQ(validating.getFunctionName() + validating.getPackageName(), "fp");
    EXPECT_EQ(validating.getErrorMsg(), u"why");
}

TEST(Exceptions, OfValueChecksHaveCodesAndMessages) {
    expectCheck(DataArraySizeOutOfRange(a, 1, 2, 3), 0, "The array size is out of range ");
    expectCheck(DefaultValidationFailedOnVoidType(a), 1, "The value passed in is void");
    expectCheck(UnsupportedType(a, "long"), 1,
                "The type of the value passed in is not on the supported list.");
    expectCheck(ValueIsNotOneOfTheChoicesAndNotInRange(a, u"1", u"2", u"3", u"4"), 2,
                "The value passed in is not one of the predefined choices and/or it is not in the "
                "predefined range.");
    expectCheck(ValueIsNotInRange(a, u"1", u"2", u"3"), 3,
                "The value passed in is not in the predefined range");
    expectCheck(exception::DataTypeNotMatch(a, "int32", "bool"), 5,
                "The type of the value passed in does not match the type in the setting "
                "definition.");

    DataArraySizeOutOfRange const size(a, 1, 2, 3);
    EXPECT_EQ(size.getMinArraySize(), 1u);
    EXPECT_EQ(size.getMaxArraySize(), 2u);
    EXPECT_EQ(size.getActualArraySize(), 3u);
    ValueIsNotOneOfTheChoicesAndNotInRange const choice(a, u"1", u"2", u"3", u"4");
    EXPECT_EQ(choice.getMinValueStr() + choice.getMaxValueStr() + choice.getChoicesStr() +
                  choice.getValueToSetStr(),
              u"1234");
    ValueIsNotInRange const range(a, u"1", u"2", u"3");
    EXPECT_EQ(range.getMinValueStr() + range.getMaxValueStr() + range.getValueToSetStr(), u"123");
    EXPECT_EQ(UnsupportedType(a, "long").getTypeName(), "long");
    exception::DataTypeNotMatch const type(a, "int32", "bool");
    EXPECT_EQ(type.getExpectedTypeName() + type.getActualTypeName(), "int32bool");

    // The one check whose message is not its text, but what the function said.
    ExceptionFromValidationFunction const refusal(a, "k", 5, "f", "p", u"said");
    expectThrown(refusal, "Exception thrown by the validation function.");
    EXPECT_EQ(refusal.getErrorCode(), 6);
    EXPECT_EQ(refusal.getErrorMsg(), u"said");
    EXPECT_EQ(refusal.getKeyName() + refusal.getFunctionName() + refusal.getPackageName(), "kfp");
    EXPECT_EQ(boost::any_cast<int>(refusal.getValue()), 5);
}

TEST(Exceptions, ThatTheHostThrowsAreComplete) {
    expectThrown(CannotAddKeyToRoot("k"), "Settings root cannot contain any setting");
    expectThrown(ProductNodeAlreadyExisted("P", "p"),
                 "Product node already existed. The product node name cannot only be different by "
                 "case.");
    expectThrown(SameNameChildAlreadyExisted(a, "n"),
                 "Error add node, same name child has already existed.");
    auto const* const level = reinterpret_cast<SettingsLevel const*>(first.get());
    NoFileWritePermission const permission(writable, *level, u"file", u"why", u"more", "user");
    expectThrown(permission,
                 "Cannot write to the level specified. You may not have write permission on that "
                 "level.");
    expectThrown(ErrorWriteToTempSettingsFile(a, u"file", 24, u"why"),
                 "Cannot open a temp file to save the Settings object. It could be due to out of "
                 "file handle or other reasons.");
    expectThrown(exception::ErrorMigratePrefsBetweenReleases("1", "2"),
                 "Error copying the files from the previous release prefdir to the current release "
                 "prefdir.");
    expectThrown(ErrorMigrateSettingsBetweenReleases(u"1", u"2"),
                 "Error migrating settings from previous release to the current release.");
    expectThrown(RuntimeFuncErrorConvertingZxArrayToAny("p", "f", typeid(long)),
                 "The runtime function returns an zxArray that is not convertible to a supported "
                 "type.");
    expectThrown(AttemptToGetValueFromVoid(),
                 "Attempt to retrieve value from a void boost::any variable.");

    ProductNodeAlreadyExisted const product("P", "p");
    EXPECT_EQ(product.getExistingName() + product.getInputName(), "Pp");
    EXPECT_EQ(permission.getCausingObject(), writable);
    EXPECT_EQ(permission.getLevelName(), "user");
    EXPECT_EQ(&permission.getLevel(), level);
    EXPECT_EQ(permission.getCausingFilePath() + permission.getAdditionalInfo(), u"filemore");
    ErrorWriteToTempSettingsFile const temp(a, u"file", 24, u"why");
    EXPECT_EQ(temp.getErrorNum(), 24);
    EXPECT_EQ(temp.getCausingFilePath() + temp.getReasonStr(), u"filewhy");
    exception::ErrorMigratePrefsBetweenReleases const prefs("1", "2");
    EXPECT_EQ(prefs.getPrevFullRelTag() + prefs.getCurrFullRelTag(), "12");
    EXPECT_EQ(ErrorMigrateSettingsBetweenReleases(u"1", u"2").getDestRelease(), u"2");
    RuntimeFuncErrorConvertingZxArrayToAny const array("p", "f", typeid(long));
    EXPECT_EQ(array.getPackageName() + array.getFunctionName(), "pf");
    EXPECT_TRUE(array.getTypeInfo() == typeid(long));
}

TEST(Exceptions, OfPlugInsCarryTheirOwnText) {
    SettingsException const error("id", "too loud", "volume");
    expectThrown(error, "too loud");
    EXPECT_EQ(error.msgId() + error.exceptionKey(), "idvolume");
}

TEST(Exceptions, KeepTheirNodesAlive) {
    auto life = boost::make_shared<int>(3);
    boost::weak_ptr<int> const watch = life;
    try {
        NodePtr const dying = node<Settings const>(life);
        life.reset();
        throw ValueIsNotInRange(dying, u"", u"", u"");
    } catch (ValidationException const& caught) {
        EXPECT_FALSE(watch.expired());
        EXPECT_TRUE(caught.getCausingObject());
    }
    EXPECT_TRUE(watch.expired());
}

}  // namespace
}  // namespace settings::core
