#pragma once

#include <cerrno>
#include <utility>

#include <settingscore/errors/FileExceptions.hpp>

namespace settings::core {

/// A file could not be read for a reason that says nothing about the file and may pass: the system
/// failed to open or read it or a file that it names, or the parser had no schema.
class UnreadableNow : public exception::ErrorReadingSettingsData {
public:
    UnreadableNow(core::exception::ErrorCode code, ustring detail, int errorNumber)
        : ErrorReadingSettingsData(code, std::move(detail)), errorNumber_(errorNumber) {}
    /// The system's; 0 if it is none of the system's.
    int errorNumber() const { return errorNumber_; }
    /// True for the error numbers of such a reason.
    static bool mayPass(int errorNumber) {
        switch (errorNumber) {
            case EAGAIN:
            case EHOSTDOWN:
            case EINTR:
            case EIO:
            case EMFILE:
            case ENFILE:
            case ENOBUFS:
            case ENOMEM:
            case ENOTCONN:
            case ESTALE:
            case ETIMEDOUT:
                return true;
            default:
                return false;
        }
    }

private:
    int errorNumber_;
};

}  // namespace settings::core
