#include <settingscore/errors/Exceptions.hpp>

#include <gtest/gtest.h>
#include <boost/make_shared.hpp>
#include <boost/weak_ptr.hpp>
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

/// Those that plug-ins and hosts throw, whose code the value checks carry, and those whose odd text
/// callers have learnt to expect.
TEST(Exceptions, SayWhatWentWrong) {
    auto const& level = *reinterpret_cast<SettingsLevel const*>(life.get());
    ProductNodeAlreadyExisted const product("P", "p");
    exception::ErrorMigratePrefsBetweenReleases const prefs("1", "2");
    RuntimeFuncErrorConvertingZxArrayToAny const array("p", "f", typeid(long));
    SettingsException const plugIn("id", "too loud", "volume");
    ErrorLoadingLibrary const library("lib", u"why");
    exception::DataTypeNotMatch const type(a, "int32", "bool");
    EXPECT_EQ(texts(NoSuchKey(a, "k"), ValueNotDefinedForGivenLevel(a, "l"),
                    CantModifyValuesOnReadOnlyLevel(a, "l"), CannotMergeWithSettingsRoot(a),
                    CanOnlyMergeTreeNodeWithStandaloneNode(a, a),
                    ErrorReadingSettingsData(LazyLoadFailed, u"d"), library,
                    CannotAddKeyToRoot("k"), product, SameNameChildAlreadyExisted(a, "n"),
                    NoFileWritePermission(writable, level, u"file", u"why", u"more", "user"),
                    ErrorWriteToTempSettingsFile(a, u"file", 24, u"why"), prefs,
                    ErrorMigrateSettingsBetweenReleases(u"1", u"2"), AttemptToGetValueFromVoid(),
                    plugIn, DataArraySizeOutOfRange(a, 1, 2, 3),
                    DefaultValidationFailedOnVoidType(a), UnsupportedType(a, "long"),
                    ValueIsNotOneOfTheChoicesAndNotInRange(a, u"1", u"2", u"3", u"4"),
                    ValueIsNotInRange(a, u"1", u"2", u"3"), type,
                    ExceptionFromValidationFunction(a, "k", 5, "f", "p", u"said")),
              R"(
The request setting does not exist.
No value is not defined for this setting on the given level
The Settings file on the give level is read-only
Users can only  merge settings with product node or sub-product node. Users cannot merge settings directly with Settings root.
Cannot only merge a node on the tree with a standalone node.
Error reading setting's value for various reasons, please refer to detailedInfo for more information.
Error loading the library, please refer to error message for reasons.
Settings root cannot contain any setting
Product node already existed. The product node name cannot only be different by case.
Error add node, same name child has already existed.
Cannot write to the level specified. You may not have write permission on that level.
Cannot open a temp file to save the Settings object. It could be due to out of file handle or other reasons.
Error copying the files from the previous release prefdir to the current release prefdir.
Error migrating settings from previous release to the current release.
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
    EXPECT_EQ(product.getExistingName() + product.getInputName() + prefs.getPrevFullRelTag() +
                  prefs.getCurrFullRelTag() + array.getPackageName() + array.getFunctionName() +
                  plugIn.msgId() + plugIn.exceptionKey() + library.getLibName() +
                  type.getExpectedTypeName() + type.getActualTypeName(),
              "Pp12pfidvolumelibint32bool");
    EXPECT_TRUE(array.getTypeInfo() == typeid(long));
}

TEST(Exceptions, KeepTheirNodesAlive) {
    auto shortLife = boost::make_shared<int>(3);
    boost::weak_ptr<int> const watch = shortLife;
    {
        ValueIsNotInRange const error(node<Settings const>(shortLife), u"", u"", u"");
        shortLife.reset();
        EXPECT_FALSE(watch.expired());
    }
    EXPECT_TRUE(watch.expired());
}

}  // namespace
}  // namespace settings::core
