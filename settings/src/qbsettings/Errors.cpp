#include <qbsettings/Errors.hpp>

#include <new>

#include <boost/shared_ptr.hpp>
#include <qbsettings/Failure.hpp>
#include <qbsettings/Faults.hpp>
#include <qbsettings/Rules.hpp>
#include <qbsettings/Text.hpp>
#include <qbsettings/Values.hpp>
#include <settingscore/errors/Exceptions.hpp>
#include <settingscore/host/Filesystem.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/tree/KeyDescription.hpp>
#include <settingscore/tree/Settings.hpp>

namespace qbsettings {

using namespace settings::core::exception;
using qf::i18n::to_string;
using settings::core::Settings;

namespace {

std::string nameOf(boost::shared_ptr<Settings const> const& node) {
    if (!node) return {};
    return node->isRoot() ? "the root" : node->getFullName();
}

std::string theNode(boost::shared_ptr<Settings const> const& node) {
    std::string const name = nameOf(node);
    return name.empty() ? "the node" : name;
}

std::string function(detail::WithFunction const& error) {
    return error.getFunctionName() + " of " + error.getPackageName();
}

std::string levels(std::string list) {
    while (!list.empty() && (list.back() == '\n' || list.back() == ' ' || list.back() == ',')) {
        list.pop_back();
    }
    return list;
}

// --- Refused values -------------------------------------------------------------------------

/// The text of the value in an error; that of an 8-bit number is the one character.
std::string refusedText(unsigned long element, qf::ustring const& text) {
    constexpr unsigned long int8 = 3;
    constexpr unsigned long uint8 = 4;
    if (text.size() == 1 && element == int8) {
        return std::to_string(static_cast<int>(static_cast<signed char>(text.front())));
    }
    if (text.size() == 1 && element == uint8) {
        return std::to_string(static_cast<int>(static_cast<unsigned char>(text.front())));
    }
    return shortest(element, to_string(text));
}

template <class Error>
std::string outOfBounds(Error const& error, std::vector<std::string> const& given) {
    std::string value = given.size() == 1 ? given.front() : to_string(error.getValueToSetStr());
    if (!error.getCausingObject()) return inQuotes(value) + " is not allowed";
    auto const description = settings::core::describeKey(error.getCausingObject());
    if (given.size() != 1) {
        value = refusedText(elementOf(description), error.getValueToSetStr());
    }
    return inQuotes(value) + " is not allowed: it takes " + boundsText(description);
}

std::string wrongSize(DataArraySizeOutOfRange const& error) {
    unsigned long const actual = error.getActualArraySize();
    unsigned long const least = error.getMinArraySize();
    unsigned long const most = error.getMaxArraySize();
    return std::to_string(actual) + (actual == 1 ? " value was given" : " values were given") +
           ", it takes " + sizeText(least, most);
}

// --- The table ------------------------------------------------------------------------------

/// Finds the class of an error among those that it has a text for.
class Teller {
public:
    explicit Teller(std::exception const& error) : error_(error) {}

    template <class Error, class Text>
    Teller& when(Text const& text) {
        if (found_) return *this;
        if (auto const* const matching = dynamic_cast<Error const*>(&error_)) {
            result_ = text(*matching);
            found_ = true;
        }
        return *this;
    }
    bool found() const { return found_; }
    std::string const& result() const { return result_; }

private:
    std::exception const& error_;
    std::string result_;
    bool found_ = false;
};

void tellValues(Teller& teller, std::vector<std::string> const& given) {
    teller.when<DataArraySizeOutOfRange>([](auto const& e) { return wrongSize(e); })
        .when<ValueIsNotOneOfTheChoicesAndNotInRange>(
            [&](auto const& e) { return outOfBounds(e, given); })
        .when<ValueIsNotInRange>([&](auto const& e) { return outOfBounds(e, given); })
        .when<DefaultValidationFailedOnVoidType>([](auto const&) { return "there is no value"; })
        .when<UnsupportedType>(
            [](auto const& e) { return "values of type " + e.getTypeName() + " cannot be stored"; })
        .when<ExceptionFromValidationFunction>([&](auto const& e) {
            std::vector<std::string> const value =
                given.empty() ? elementTexts(e.getValue()) : given;
            return inQuotes(join(value, ", ")) + " is refused by " + function(e) + ": " +
                   to_string(e.getErrorMsg());
        })
        .when<DataTypeNotMatch>([](auto const& e) {
            return "it takes " + e.getExpectedTypeName() + ", the value is of type " +
                   e.getActualTypeName();
        })
        .when<CannotChangeValueForReadOnlySetting>([](auto const&) { return "it is read-only"; })
        .when<ValidationFunctionInvokingError>([](auto const& e) {
            return "the function " + function(e) +
                   " that checks its values cannot be called: " + to_string(e.getErrorMsg());
        })
        .when<RunTimeFuncInvokingError>([](auto const& e) {
            return "the function " + function(e) +
                   " that computes its default failed: " + to_string(e.getErrorMsg());
        })
        .when<RuntimeFuncErrorConvertingZxArrayToAny>([](auto const& e) {
            return "the function " + function(e) +
                   " that computes its default gave a value of a type that cannot be stored";
        })
        .when<ErrorLoadingLibrary>([](auto const& e) {
            return "the library " + e.getLibName() +
                   " cannot be loaded: " + to_string(e.getErrorMsg());
        })
        .when<AttemptToGetValueFromVoid>([](auto const&) { return "there is no value"; })
        .when<ValidationException>(
            [](auto const& e) { return "the value is refused: " + to_string(e.getErrorMsg()); });
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
                   " is no legal name: a letter, then letters, digits and '_', at most 63, and no "
                   "word of the host's language";
        })
        .when<ErrorAddingTopLevelNode>([](auto const& e) {
            return "there is a product " + inQuotes(e.getExistingProductName()) +
                   " already, and names of products may not differ in case alone";
        })
        .when<ProductNodeAlreadyExisted>([](auto const& e) {
            return "there is a product " + inQuotes(e.getExistingName()) + " already";
        })
        .when<ErrorAddingChildNodeOrKey>([](auto const& e) {
            return theNode(e.getObjectInvovled()) + " has a " +
                   inQuotes(e.getExistingNodeKeyName()) + " already";
        })
        .when<SameNameChildAlreadyExisted>([](auto const& e) {
            return theNode(e.getObjectInvovled()) + " has a " + inQuotes(e.getInputName()) +
                   " already";
        })
        .when<CanNotAddKeyToRootException>(
            [](auto const&) { return "a key stands in a product; name it as PRODUCT.KEY"; })
        .when<CannotAddKeyToRoot>(
            [](auto const&) { return "a key stands in a product; name it as PRODUCT.KEY"; });
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
                   " is read-only: what it holds cannot be added to, removed or unset";
        })
        .when<NoFileWritePermissionOnMultipleLevels>([](auto const& e) {
            return "it has values on the levels " + e.getLevelNeedToBeUpdated() +
                   ", of which only " + e.getLevelsHasWritenPermissionOn() + " can be changed";
        });
}

void tellFiles(Teller& teller) {
    teller
        .when<ErrorReadingSettingsData>([](auto const& e) {
            std::vector<std::string> texts;
            for (Fault const& fault : faultsOfLoad(e.getDetailErrorMsg())) {
                texts.push_back(fault.toText());
            }
            return join(texts, "; ");
        })
        .when<ErrorExportOrImportSettingsUsingRelativePath>([](auto const& e) {
            return "the path " + to_string(e.getRelativePath()) + " is not absolute";
        })
        .when<ErrorSaveSettingsDueToFileIOError>([](auto const& e) {
            return to_string(e.getFileName()) + " cannot be opened for writing";
        })
        .when<NoFileWritePermission>([](auto const& e) {
            return to_string(e.getCausingFilePath()) + " cannot be written for the level " +
                   inQuotes(e.getLevelName()) + ": " + to_string(e.getReasonStr());
        })
        .when<ErrorWriteToTempSettingsFile>([](auto const& e) {
            return to_string(e.getCausingFilePath()) +
                   " cannot be written: " + to_string(e.getReasonStr());
        })
        .when<RelativePreferencePathNotSupported>([](auto const& e) {
            return "the preference directory " + inQuotes(e.getPrefdirLocation()) +
                   " is not absolute";
        })
        .when<ErrorMigratePrefsBetweenReleases>([](auto const& e) {
            return "the preferences of release " + e.getPrevFullRelTag() +
                   " could not be taken over by " + e.getCurrFullRelTag();
        })
        .when<ErrorMigrateSettingsBetweenReleases>([](auto const& e) {
            return "the settings of release " + to_string(e.getSrcRelease()) +
                   " could not be taken over by " + to_string(e.getDestRelease());
        });
}

void tellTrees(Teller& teller) {
    teller
        .when<CannotMergeWithSettingsRoot>(
            [](auto const&) { return "settings are imported into a product or a group of one"; })
        .when<ErrorMergingWithCircularReference>(
            [](auto const&) { return "a tree cannot be merged with a part of itself"; })
        .when<CanOnlyMergeTreeNodeWithStandaloneNode>(
            [](auto const&) { return "the settings to import are in the tree already"; })
        .when<ErrorMergingNodesWithDiffAttr>([](auto const& e) {
            return theNode(e.getDesObject()) + " is declared in another way there: " +
                   levels(to_string(e.getDiffAttrNameList())) + " differs";
        })
        .when<MultipleRuntimeFuncError>([](auto const& e) {
            return theNode(e.getCausingObject()) + " has a computed default already";
        })
        .when<CannotExportSettingsRoot>(
            [](auto const&) { return "a product or a part of one is exported, not the root"; })
        .when<CannotExportStandaloneSettings>(
            [](auto const& e) { return theNode(e.getObjectInvovled()) + " is not in the tree"; })
        .when<ErrorExportMultipleNodesBelongsToDiffProducts>([](auto const& e) {
            return "one file takes one product, and " + inQuotes(e.getProduct1Name()) + " and " +
                   inQuotes(e.getProduct2Name()) + " were named";
        })
        .when<ErrorCreateFactoryFileFromATreeNode>(
            [](auto const& e) { return theNode(e.getObjectInvovled()) + " is in the tree"; });
}

}  // namespace

std::string reasonOf(std::exception const& error, std::vector<std::string> const& given) {
    Teller teller(error);
    tellValues(teller, given);
    tellNames(teller);
    tellLevels(teller);
    tellFiles(teller);
    tellTrees(teller);
    // The catalogue's texts are made for users.
    teller.when<qf::except::IMsgIDException>(
        [](auto const& e) { return to_string(e.GetUnicodeMessageTxt()); });
    teller.when<std::bad_alloc>([](auto const&) { return "there is not enough memory"; });
    return teller.found() ? teller.result() : error.what();
}

std::string messageOf(std::exception const& error) {
    if (dynamic_cast<Failure const*>(&error)) return error.what();
    std::string name;
    if (auto const* refusal = dynamic_cast<ExceptionFromValidationFunction const*>(&error)) {
        name = nameOf(refusal->getCausingObject());
        name += (name.empty() ? "" : ".") + refusal->getKeyName();
    } else if (auto const* e = dynamic_cast<ValidationException const*>(&error)) {
        name = nameOf(e->getCausingObject());
    } else if (auto const* with = dynamic_cast<detail::WithObjectInvolved const*>(&error)) {
        name = nameOf(with->getObjectInvovled());
    } else if (auto const* of = dynamic_cast<detail::WithCausingObject const*>(&error)) {
        name = nameOf(of->getCausingObject());
    }
    return (name.empty() ? "" : name + ": ") + reasonOf(error);
}

}  // namespace qbsettings
