#pragma once

#include <string>
#include <utility>

#include <settingscore/Export.hpp>
#include <settingscore/host/Except.hpp>

namespace settings::core {

/// What a C validator throws to refuse a value: the text reaches the caller of the set in an
/// `exception::ExceptionFromValidationFunction`. The library itself never throws it.
class SETTINGSCORE_API SettingsException
    : public qf::except::Exception<qf::except::IInternalException, std::exception, void> {
public:
    /// `whatText` is the reason that callers of the set get.
    SettingsException(std::string msgId, std::string whatText, std::string key)
        : msgId_(std::move(msgId)), whatText_(std::move(whatText)), key_(std::move(key)) {}

    char const* what() const noexcept override { return whatText_.c_str(); }
    /// Identifier of the text; the library makes nothing of it.
    std::string msgId() const { return msgId_; }
    /// Key of the error; the library makes nothing of it.
    std::string exceptionKey() const { return key_; }

private:
    std::string msgId_;
    std::string whatText_;
    std::string key_;
};

}  // namespace settings::core
