#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <boost/make_shared.hpp>
#include <boost/optional/optional_io.hpp>
#include <qbhost/QbHost.hpp>
#include <settingscore/errors/Exceptions.hpp>
#include <settingscore/errors/MessageIds.hpp>
#include <settingscore/errors/SettingsException.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/rules/ValueType.hpp>
#include <settingscore/tree/SettingsImpl.hpp>
#include <settingscore/value/AnyBridge.hpp>
#include <settingscore/value/Get.hpp>
#include <settingscore/value/TypeName.hpp>

namespace qbtest {

using namespace settings::core;
using boost::any;
using Texts = std::vector<std::string>;
using Ints = std::vector<int>;
using Node = boost::shared_ptr<SettingsImpl>;
using Parent = boost::shared_ptr<Settings const>;

inline Node makeNode(std::string const& name, bool isLeaf, Node const& parent) {
    auto node = boost::make_shared<SettingsImpl>(name, isLeaf, true);
    node->setParentInternal(parent);
    return node;
}
inline Node makeGroup(std::string const& name, Node const& parent = {}) {
    return makeNode(name, false, parent);
}
inline Node makeKey(std::string const& name, Node const& parent = {}) {
    return makeNode(name, true, parent);
}

/// Runs `action`, which is to throw a T; hands the exception to `look`.
template <class T, class Action, class Look>
void expectThrow(Action&& action, Look&& look) {
    try {
        action();
        ADD_FAILURE() << "nothing was thrown";
    } catch (T const& error) {
        look(error);
    }
}

/// "-" for no value, an int as it is written, other values behind the name of their type.
inline std::string shown(any const& value) {
    if (value.empty()) return "-";
    std::string text;
    TypeNameVisitor name(text);
    settingscore::boostany::applyVisitor(name, value, true);
    if (text == "int32") text.clear();
    for (ustring const& each : settingscore::boostany::get<std::vector<ustring>>(value, true))
        text += (text.empty() ? "" : " ") + qf::i18n::to_string(each);
    return text;
}

/// What a refusal of a setting carries, as in "NoSuchKey(product.group, name)".
class Told : public std::string {
public:
    explicit Told(exception::InternalError const& error) : error_(error) {
        using namespace exception;
        using Choice = ValueIsNotOneOfTheChoicesAndNotInRange;
        using Diff = ErrorMergingNodesWithDiffAttr;
        using NoPermission = NoFileWritePermissionOnMultipleLevels;
        using OnReadOnly = CannotAddRemoveNodeUnderReadOnlyParent;
        using Products = ErrorExportMultipleNodesBelongsToDiffProducts;
        using Relative = ErrorExportOrImportSettingsUsingRelativePath;
        using Size = DataArraySizeOutOfRange;
        using TopLevel = ErrorAddingTopLevelNode;
        std::string const name = getReadableName(typeid(error));
        assign(name.substr(name.rfind(':') + 1) + "(");
        add(&NoSuchKey::getObjectInvovled, &NoSuchKey::getInputName,
            &CannotChangeValueForReadOnlySetting::getCausingObject,
            &UnSupportedLevel::getInputLevel, &ValueNotDefinedForGivenLevel::getInputLevel,
            &CantModifyValuesOnReadOnlyLevel::getLevelToModify, &OnReadOnly::getChildObject,
            &OnReadOnly::getParentObject, &CanNotAddKeyToRootException::getCausingObject,
            &TopLevel::getProductNamePassedIn, &TopLevel::getExistingProductName,
            &ErrorAddingChildNodeOrKey::getExistingNodeKeyName, &InvalidNodePath::getInvalidName,
            &InvalidSettingOrGroupName::getInputNodeName, &NoPermission::getLevelNeedToBeUpdated,
            &NoPermission::getLevelsHasWritenPermissionOn, &Diff::getSrcObject, &Diff::getDesObject,
            &Diff::getDiffAttrNameList, &Products::getProduct1Name, &Products::getProduct2Name,
            &Relative::getRelativePath, &ErrorSaveSettingsDueToFileIOError::getFileName,
            &ValidationException::getCausingObject, &Size::getMinArraySize, &Size::getMaxArraySize,
            &Size::getActualArraySize, &ValueIsNotInRange::getValueToSetStr,
            &ValueIsNotInRange::getMinValueStr, &ValueIsNotInRange::getMaxValueStr,
            &Choice::getValueToSetStr, &Choice::getMinValueStr, &Choice::getMaxValueStr,
            &Choice::getChoicesStr, &UnsupportedType::getTypeName,
            &ExceptionFromValidationFunction::getKeyName,
            &ExceptionFromValidationFunction::getValue, &RunTimeFuncInvokingError::getFunctionName,
            &RunTimeFuncInvokingError::getPackageName, &RunTimeFuncInvokingError::getErrorMsg);
        if (name.find("ValidationFunction") != npos) add(&ValidationException::getErrorMsg);
        *this += ")";
    }

private:
    template <class... E, class... R>
    void add(R (E::*... get)() const) {
        auto const part = [this](auto const* error, auto const& getPart) {
            if (error) *this += (parts_++ == 0 ? "" : ", ") + text((error->*getPart)());
        };
        (part(dynamic_cast<E const*>(&error_), get), ...);
    }
    static std::string text(std::string const& part) { return part; }
    static std::string text(ustring const& part) { return qf::i18n::to_string(part); }
    static std::string text(unsigned long part) { return std::to_string(part); }
    static std::string text(any const& part) { return shown(part); }
    template <class T>
    static std::string text(boost::shared_ptr<T> const& node) {
        return !node ? "none" : node->isRoot() ? node->getName() : node->getFullName();
    }

    exception::InternalError const& error_;
    int parts_ = 0;
};

/// How `action` ended: "done", or what its refusal tells. Other exceptions are let through.
inline std::string ending(std::function<void()> const& action) {
    using Mismatch = ZENBAR::settings::core::DataTypeNotMatch;
    try {
        action();
        return "done";
    } catch (exception::InternalError const& error) {
        return Told(error);
    } catch (ZENBAR::settings::core::MessageException<Mismatch> const& error) {
        auto const arguments = error.get_msg_id().arguments();
        return "DataTypeNotMatch(" + boost::get<std::string>(arguments.at(0)) + ", " +
               boost::get<std::string>(arguments.at(1)) + ")";
    }
}

}  // namespace qbtest
