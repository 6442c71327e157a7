// Commands that change one setting.

#include <iostream>

#include <qbsettings/Commands.hpp>
#include <qbsettings/Errors.hpp>
#include <qbsettings/Failure.hpp>
#include <qbsettings/Names.hpp>
#include <qbsettings/Saved.hpp>
#include <qbsettings/Store.hpp>
#include <qbsettings/Text.hpp>
#include <qbsettings/Values.hpp>
#include <settingscore/errors/TreeExceptions.hpp>
#include <settingscore/tree/ZSettings.hpp>

namespace qbsettings {

using settings::core::Validator;
using settings::core::ZSettings;

namespace {

boost::shared_ptr<ZSettings> scripted(SettingsPtr const& node) {
    return boost::dynamic_pointer_cast<ZSettings>(node);
}

/// The group that a new node of that name goes into, and the node's own name.
std::pair<SettingsPtr, std::string> placeFor(Context& context, std::string const& name) {
    auto const [parentName, ownName] = splitLast(name);
    SettingsPtr const parent = parentName.empty() ? context.root() : findGroup(context, parentName);
    if (!parent->isRoot()) context.warnOfUnreadable(productOf(parent));
    ZSettings::validateSettingOrGroupName(ownName);
    return {parent, ownName};
}

/// Attaches a node and sees to it that it is in the file.
void attach(Context& context, SettingsPtr const& node, SettingsPtr const& parent,
            std::string const& name) {
    try {
        scripted(node)->setParent(parent);
    } catch (std::exception const& error) {
        throw Failure(name + ": " + reasonOf(error));
    }
    confirmSaved(context, productOf(node));
}

/// A standalone key that knows its type, with a value on the level "user" if there are texts; of a
/// key that takes any type they are strings.
SettingsPtr makeKey(std::string const& name, std::string const& typeName,
                    std::vector<std::string> const& texts) {
    settings::core::SettingsProperties properties;
    properties.anyType = typeName == "any";
    KeyType type = typeNamed(properties.anyType ? "string" : typeName);
    if (texts.size() > 1) type.array = true;
    if (properties.anyType && type.array) {
        throw Failure("a key that takes any type holds one value");
    }
    SettingsPtr const key = ZSettings::createSetting(name, true, properties);
    SettingsPtr const group =
        ZSettings::createSettingsNode("group", false, true, Validator(), false);
    scripted(key)->setParent(group);
    // The first value that a key is shown fixes its type, and an array without elements fixes no
    // bound on their number.
    group->validateAny(name, blankValue(type));
    if (!texts.empty()) group->setAny(name, makeValue(type, texts), "user");
    scripted(group)->removeKey(name);
    return key;
}

}  // namespace

int setCommand(Context& context, Arguments const& arguments) {
    std::string const level = levelForWriting(context, arguments.level);
    SettingsPtr const key = findKey(context, arguments.name());
    if (level == "user") context.warnOfUnreadable(productOf(key));
    boost::any const value = valueForKey(context, key, arguments.values, arguments.type);
    try {
        key->getParent()->setAny(key->getName(), value, level);
    } catch (std::exception const& error) {
        throw refusal(context, key, error, arguments.values);
    }
    confirmStored(key, value, level);
    if (level == "user") confirmSaved(context, productOf(key));
    return done;
}

int unsetCommand(Context& context, Arguments const& arguments) {
    std::string const level = levelForWriting(context, arguments.level);
    SettingsPtr const key = findKey(context, arguments.name());
    if (level == "user") context.warnOfUnreadable(productOf(key));
    try {
        key->getParent()->unset(key->getName(), level);
    } catch (settings::core::exception::ValueNotDefinedForGivenLevel const& error) {
        throw Failure(nothingThere, key->getFullName() + ": " + reasonOf(error));
    } catch (std::exception const& error) {
        throw Failure(key->getFullName() + ": " + reasonOf(error));
    }
    if (level == "user") confirmSaved(context, productOf(key));
    return done;
}

int addCommand(Context& context, Arguments const& arguments) {
    if (arguments.type != "any")
        typeNamed(arguments.type);  // A wrong word is told before all else.
    context.lockForWriting();
    auto const [parent, name] = placeFor(context, arguments.name());
    SettingsPtr key;
    try {
        key = makeKey(name, arguments.type, arguments.values);
    } catch (std::exception const& error) {
        throw Failure(arguments.name() + ": " +
                      (dynamic_cast<Failure const*>(&error) ? error.what() : reasonOf(error)));
    }
    attach(context, key, parent, arguments.name());
    return done;
}

int addGroupCommand(Context& context, Arguments const& arguments) {
    context.lockForWriting();
    auto const [parent, name] = placeFor(context, arguments.name());
    attach(context, ZSettings::createSettingsNode(name, false, true, Validator(), false), parent,
           arguments.name());
    return done;
}

int removeCommand(Context& context, Arguments const& arguments) {
    context.lockForWriting();
    SettingsPtr const node = findNode(context, arguments.name());
    std::string const name = node->getFullName();
    std::string const product = productOf(node);
    boost::shared_ptr<ZSettings> const parent = scripted(node->getParent());
    if (parent->isRoot()) {
        context.refuseToRemoveUnreadable(product);
    } else {
        context.warnOfUnreadable(product);
    }
    try {
        if (node->isLeafNode()) {
            parent->removeKey(node->getName());
        } else {
            context.loading([&] { parent->removeNode(node->getName()); });
        }
    } catch (std::exception const& error) {
        throw Failure(name + ": " + reasonOf(error));
    }
    confirmSaved(context, product);
    return done;
}

}  // namespace qbsettings
