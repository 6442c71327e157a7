#pragma once

#include <functional>
#include <string>

#include <gtest/gtest.h>
#include <boost/any.hpp>
#include <boost/make_shared.hpp>
#include <boost/optional/optional_io.hpp>
#include <boost/shared_ptr.hpp>
#include <qbhost/QbHost.hpp>
#include <settingscore/errors/Exceptions.hpp>
#include <settingscore/errors/MessageIds.hpp>
#include <settingscore/errors/SettingsException.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/tree/SettingsImpl.hpp>
#include <settingscore/value/TypeName.hpp>

#include "../../support/TempFolder.hpp"

namespace qbtest {

using settings::core::SettingsImpl;
using Node = boost::shared_ptr<SettingsImpl>;
using Parent = boost::shared_ptr<settings::core::Settings const>;

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

/// "-" for no value, a number as it is written.
inline std::string shown(boost::any const& value) {
    if (value.empty()) return "-";
    if (auto const* number = boost::any_cast<int>(&value)) return std::to_string(*number);
    if (auto const* number = boost::any_cast<double>(&value)) {
        return *number == 2.5 ? "2.5" : "another double";
    }
    return "something else";
}

/// What a refusal of a setting carries, as in "NoSuchKey(product.group, name)".
class Told : public std::string {
public:
    explicit Told(settings::core::exception::InternalError const& error) : error_(error) {
        using namespace settings::core::exception;
        using Choice = ValueIsNotOneOfTheChoicesAndNotInRange;
        using NoPermission = NoFileWritePermissionOnMultipleLevels;
        std::string const name = settings::core::getReadableName(typeid(error));
        assign(name.substr(name.rfind(':') + 1) + "(");
        add(&NoSuchKey::getObjectInvovled, &NoSuchKey::getInputName);
        add(&CannotChangeValueForReadOnlySetting::getCausingObject);
        add(&UnSupportedLevel::getInputLevel, &ValueNotDefinedForGivenLevel::getInputLevel);
        add(&CantModifyValuesOnReadOnlyLevel::getLevelToModify);
        add(&CannotAddRemoveNodeUnderReadOnlyParent::getChildObject);
        add(&CannotAddRemoveNodeUnderReadOnlyParent::getParentObject);
        add(&CanNotAddKeyToRootException::getCausingObject);
        add(&ErrorAddingTopLevelNode::getProductNamePassedIn);
        add(&ErrorAddingTopLevelNode::getExistingProductName);
        add(&ErrorAddingChildNodeOrKey::getExistingNodeKeyName, &InvalidNodePath::getInvalidName);
        add(&NoPermission::getLevelNeedToBeUpdated, &NoPermission::getLevelsHasWritenPermissionOn);
        add(&ValidationException::getCausingObject, &DataArraySizeOutOfRange::getMinArraySize);
        add(&DataArraySizeOutOfRange::getMaxArraySize,
            &DataArraySizeOutOfRange::getActualArraySize);
        add(&ValueIsNotInRange::getValueToSetStr, &ValueIsNotInRange::getMinValueStr);
        add(&ValueIsNotInRange::getMaxValueStr, &Choice::getValueToSetStr, &Choice::getMinValueStr);
        add(&Choice::getMaxValueStr, &Choice::getChoicesStr, &UnsupportedType::getTypeName);
        add(&ExceptionFromValidationFunction::getKeyName);
        add(&ExceptionFromValidationFunction::getValue);
        add(&RunTimeFuncInvokingError::getFunctionName, &RunTimeFuncInvokingError::getPackageName);
        add(&RunTimeFuncInvokingError::getErrorMsg);
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
    static std::string text(qf::ustring const& part) { return qf::i18n::to_string(part); }
    static std::string text(unsigned long part) { return std::to_string(part); }
    static std::string text(boost::any const& part) { return shown(part); }
    template <class T>
    static std::string text(boost::shared_ptr<T> const& node) {
        return !node ? "none" : node->isRoot() ? node->getName() : node->getFullName();
    }

    settings::core::exception::InternalError const& error_;
    int parts_ = 0;
};

/// How `action` ended: "done", or what its refusal tells. Other exceptions are let through.
inline std::string ending(std::function<void()> const& action) {
    using Mismatch = ZENBAR::settings::core::DataTypeNotMatch;
    try {
        action();
        return "done";
    } catch (settings::core::exception::InternalError const& error) {
        return Told(error);
    } catch (ZENBAR::settings::core::MessageException<Mismatch> const& error) {
        auto const arguments = error.get_msg_id().arguments();
        return "DataTypeNotMatch(" + boost::get<std::string>(arguments.at(0)) + ", " +
               boost::get<std::string>(arguments.at(1)) + ")";
    }
}

/// Lets the host find the libraries that are built for the tests, is the thread of the scripts, and
/// takes back all functions at the end.
class WithFunctions : public ::testing::Test {
protected:
    WithFunctions() {
        environment_.set("QBHOST_LIBRARY_PATH", QB_TEST_PLUGIN_DIR);
        qbhost::setSignalThreadToThisThread();
    }
    ~WithFunctions() override {
        settings::core::ZValidator::setZENBARValFuncInvokingProxyName({});
        settings::core::ZRunTimeDefault::setZRunTimeProxyFname({});
        settings::core::ZENBARFunctionInvoker::setLoadConfigProxy({});
        settings::core::JValidator::clearFunctions();
        settings::core::JRunTimeDefault::setJRuntimeDefaultProxy({});
        qbhost::setSignalThread({});
    }
    ScopedEnvironment environment_;
};

}  // namespace qbtest
