#include <qbsettings/store/NewValue.hpp>

#include <qbsettings/errors/Errors.hpp>
#include <qbsettings/store/Directories.hpp>
#include <qbsettings/store/KeyState.hpp>
#include <qbsettings/store/Levels.hpp>
#include <qbsettings/store/Names.hpp>
#include <qbsettings/store/Writing.hpp>
#include <qbsettings/text/Rules.hpp>
#include <qbsettings/text/Text.hpp>
#include <qbsettings/text/Values.hpp>
#include <settingscore/errors/MessageIds.hpp>
#include <settingscore/errors/ValidationException.hpp>
#include <settingscore/tree/Settings.hpp>
#include <settingscore/value/ValueTraits.hpp>

namespace qbsettings {

namespace {

/// The type that a new value of the key gets.
KeyType typeForKey(SettingsPtr const& key, std::string const& typeName) {
    KeyType type = typeOf(settings::core::describeKey(key));
    if (!typeName.empty()) {
        KeyType const asked = typeNamed(typeName);
        if (!type.any && type.element != 0 && asked.element != type.element) {
            throw Failure("its type is " + type.name() +
                          "; only a key of type any takes values of other types");
        }
        type.element = asked.element;
        type.array = type.array || asked.array;
        return type;
    }
    if (type.element != 0) return type;
    KeyType const present = typeOf(readKey(key).value);
    type.element = present.element;
    if (type.element == 0) {
        type.element = settingscore::boostany::ValueTraits<qf::ustring>::index;
    }
    type.array = type.array || present.array;
    return type;
}

std::string place(Directories const& directories, SettingsPtr const& key) {
    return " (defined in " + directories.definedIn(productOf(key)) + ")";
}

}  // namespace

std::string levelForWriting(std::string const& named) {
    std::string const level = named.empty() ? "user" : named;
    requireLevel(level);
    if (level == "user") Writing::useLockWait();
    return level;
}

boost::any valueForKey(Directories const& directories, SettingsPtr const& key,
                       std::vector<std::string> const& texts, std::string const& typeName,
                       std::string const& level) {
    try {
        KeyType const declared = typeOf(settings::core::describeKey(key));
        KeyType const type = typeForKey(key, typeName);
        bool const isArray = type.array || texts.size() != 1;
        if (isArray && !declared.any && !declared.array && declared.element != 0) {
            throw Failure(countText(texts.size()) + ", it takes " + sizeText(1, 1));
        }
        if (isArray && declared.any && level == "user") {
            throw Failure(countText(texts.size()) + ", it takes " + sizeText(1, 1) +
                          ", because no file holds an array of a key of type any");
        }
        return makeValue(type, texts);
    } catch (Failure const& failure) {
        if (failure.status() == wrongUsage) throw;
        throw Failure(key->getFullName() + ": " + failure.what() + place(directories, key));
    }
}

Failure refusal(Directories const& directories, SettingsPtr const& key, std::exception const& error,
                std::vector<std::string> const& given) {
    using settings::core::exception::ValidationException;
    using ZENBAR::settings::core::DataTypeNotMatchException;
    std::string message = key->getFullName() + ": " + reasonOf(error, given);
    if (dynamic_cast<ValidationException const*>(&error) ||
        dynamic_cast<DataTypeNotMatchException const*>(&error)) {
        // The catalogue's texts end with a full stop.
        if (message.back() == '.') message.pop_back();
        message += place(directories, key);
    }
    return Failure(message);
}

void confirmStored(SettingsPtr const& key, boost::any const& value, std::string const& level) {
    std::string reason;
    try {
        if (isSame(value, key->getParent()->getAny(key->getName(), level))) return;
        key->getParent()->getAny(key->getName(), "");
    } catch (std::exception const& error) {
        reason = ": " + reasonOf(error);
    }
    throw Failure(key->getFullName() +
                  ": the value was not stored, because the default below it fails" + reason);
}

}  // namespace qbsettings
