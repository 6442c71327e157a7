#pragma once

#include <string>
#include <utility>

#include <boost/shared_ptr.hpp>
#include <settingscore/Export.hpp>
#include <settingscore/host/Except.hpp>
#include <settingscore/host/UString.hpp>

namespace settings::core {
class Settings;
}

/// The errors that are meant for programmers. Each has a fixed English `what()`; its accessors
/// carry the variable part, from which a caller composes what a user is shown. The nodes that an
/// error names live as long as the error. All classes are copyable and complete in their headers,
/// so that a plug-in that throws or catches them need not be linked with the library.
namespace settings::core::exception {

/// Direct base of every class of the family but the value checks (see `ValidationException`).
using InternalError = qf::except::Exception<qf::except::IInternalException, std::exception, void>;

/// A node that an error names.
using NodePtr = boost::shared_ptr<Settings const>;

/// What the classes have in common beyond their base. The accessors come from here.
namespace detail {

class SETTINGSCORE_API WithObjectInvolved {
public:
    /// The node that the operation was called on; may be empty.
    NodePtr const& getObjectInvovled() const { return objectInvolved_; }

protected:
    explicit WithObjectInvolved(NodePtr node) : objectInvolved_(std::move(node)) {}

private:
    NodePtr objectInvolved_;
};

class SETTINGSCORE_API WithCausingObject {
public:
    /// The node at fault; may be empty.
    NodePtr const& getCausingObject() const { return causingObject_; }

protected:
    explicit WithCausingObject(NodePtr node) : causingObject_(std::move(node)) {}

private:
    NodePtr causingObject_;
};

class SETTINGSCORE_API WithInputName {
public:
    /// The name as the caller gave it.
    std::string const& getInputName() const { return inputName_; }

protected:
    explicit WithInputName(std::string name) : inputName_(std::move(name)) {}

private:
    std::string inputName_;
};

class SETTINGSCORE_API WithFunction {
public:
    std::string const& getFunctionName() const { return functionName_; }
    std::string const& getPackageName() const { return packageName_; }

protected:
    WithFunction(std::string functionName, std::string packageName)
        : functionName_(std::move(functionName)), packageName_(std::move(packageName)) {}

private:
    std::string functionName_;
    std::string packageName_;
};

class SETTINGSCORE_API WithErrorMsg {
public:
    /// The reason, for people.
    ustring const& getErrorMsg() const { return errorMsg_; }

protected:
    explicit WithErrorMsg(ustring text) : errorMsg_(std::move(text)) {}

private:
    ustring errorMsg_;
};

}  // namespace detail
}  // namespace settings::core::exception
