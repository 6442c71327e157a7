#include <qbsettings/store/FaultPlace.hpp>

#include <algorithm>
#include <exception>
#include <optional>

#include <qbsettings/errors/Errors.hpp>
#include <qbsettings/store/FaultSearch.hpp>
#include <qbsettings/store/KeyState.hpp>
#include <qbsettings/store/SavedFile.hpp>
#include <qbsettings/text/Rules.hpp>
#include <qbsettings/text/Text.hpp>
#include <settingscore/errors/Exceptions.hpp>
#include <settingscore/host/Filesystem.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/tree/KeyDescription.hpp>
#include <settingscore/tree/Settings.hpp>
#include <settingscore/value/AsciiCase.hpp>

namespace qbsettings {

namespace fs = qf::filesystem;
using settings::core::Markup;
using settings::core::Settings;
using settings::core::detail::foldedAscii;

namespace {

// --- A file by itself -------------------------------------------------------------------------

/// The parser tells the place that it has read ahead to.
void placeBrokenByte(Fault& fault) {
    if (fault.message.rfind("invalid byte", 0) != 0) return;
    std::string const bytes = bytesOf(fault.file).value_or("");
    std::size_t const good = wellFormedLength(bytes);
    if (good == bytes.size()) return;
    std::size_t const newline = bytes.rfind('\n', good == 0 ? 0 : good - 1);
    std::size_t const begin = newline == std::string::npos || good == 0 ? 0 : newline + 1;
    auto const end = bytes.begin() + static_cast<std::ptrdiff_t>(good);
    fault.line = 1 + static_cast<unsigned long>(std::count(bytes.begin(), end, '\n'));
    fault.column = 1 + static_cast<unsigned long>(std::count_if(
                           bytes.begin() + static_cast<std::ptrdiff_t>(begin), end, [](char c) {
                               return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U;
                           }));
}

/// What stands where the parser says.
Fault named(Fault fault, Markup const& top) {
    walkElements(rootElement(top), [&](FaultyElement const& place) {
        if (auto const additional = additionalFault(place, fault)) {
            fault = *additional;
            return true;
        }
        bool const isIt =
            place.element->line == fault.line && place.element->column == fault.column;
        if (isIt) fault = faultAt(place, {}, fault);
        return isIt;
    });
    return fault;
}

/// Where a node of that name stands before, in any case; empty if none does.
std::string remarkOfDuplicate(FaultyElement const& place) {
    if (!place.group) return {};
    std::string const name = place.node->attribute("name");
    for (Markup const& sibling : place.group->children) {
        if (&sibling == place.node) break;
        std::string const other = sibling.attribute("name");
        if (!isNode(sibling) || foldedAscii(other) != foldedAscii(name)) continue;
        return duplicateRemark(sibling);
    }
    return {};
}

Fault placedInFile(Fault const& fault, Markup const& top, std::string const& refusal) {
    auto const place = findFaultyElement(fault.file, top, refusal);
    if (!place) return fault;
    auto const additional = additionalFault(*place, fault);
    return additional ? *additional : faultAt(*place, remarkOfDuplicate(*place), fault);
}

// --- Files that come together -----------------------------------------------------------------

/// The text that a load has for an error.
std::string loadText(std::exception const& error) {
    auto const* const message = dynamic_cast<qf::except::IMsgIDException const*>(&error);
    return message ? qf::i18n::to_string(message->GetUnicodeMessageTxt()) : error.what();
}

/// Looks for what a file says otherwise than the product that the other files made.
class Meeting {
public:
    explicit Meeting(Fault const& fault) : fault_(fault) {}

    std::optional<Fault> find(FaultyElement const& group, SettingsPtr const& own,
                              SettingsPtr const& product) {
        for (Markup const& child : group.element->children) {
            if (!isNode(child)) continue;
            std::string const name = child.attribute("name");
            FaultyElement const place = childElement(group, child);
            SettingsPtr const there = product->getChild(name);
            SettingsPtr const here = own->getChild(name);
            if (!there || !here) continue;
            auto const found = there->isLeafNode() != (child.tag == "key") ? kinds(place)
                               : there->isLeafNode()                       ? key(place, here, there)
                                                     : find(place, here, there);
            if (found) return found;
        }
        return {};
    }

private:
    std::optional<Fault> kinds(FaultyElement const& place) const {
        bool const isKey = place.element->tag == "key";
        return faultAt(place,
                       isKey ? "it is a key here and a group in the other files"
                             : "it is a group here and a key in the other files",
                       fault_);
    }

    std::optional<Fault> key(FaultyElement const& place, SettingsPtr const& own,
                             SettingsPtr const& there) const {
        using settings::core::exception::MultipleRuntimeFuncError;
        auto const isComputed = [](SettingsPtr const& node) {
            return !functionText(settings::core::describeKey(node).runTimeDefault).empty();
        };
        if (fault_.message.rfind("There are multiple runtime", 0) == 0) {
            if (isComputed(own) && isComputed(there)) return faultAt(place, {}, fault_);
            return {};
        }
        if (!isStoredOn(own, "user")) return {};
        try {
            there->getParent()->validateAny(there->getName(), valueOn(own, "user"));
        } catch (std::exception const& error) {
            if (loadText(error) == fault_.message) return faultAt(valuePlace(place), {}, fault_);
        }
        return {};
    }

    static FaultyElement valuePlace(FaultyElement const& key) {
        for (Markup const& type : key.element->children) {
            if (Markup const* const value = type.find("value"))
                return {value, key.name, key.node, key.group};
        }
        return key;
    }

    Fault const& fault_;
};

Fault placedInProduct(Fault const& fault, Markup const& top, SettingsPtr const& product,
                      std::string const& productName) {
    std::string const name = top.attribute("name");
    FaultyElement const root{&top, productName, &top, nullptr};
    if (name != productName) {
        return faultAt(root,
                       "the root element is named " + inQuotes(name) + ", its product " +
                           inQuotes(productName),
                       fault);
    }
    SettingsPtr const own = Settings::importAsStandaloneObject(fault.file);
    return Meeting(fault).find(root, own, product).value_or(fault);
}

}  // namespace

// A parser's place in that file comes without its name.
std::optional<Fault> additionalFault(FaultyElement const& place, Fault const& fault) {
    if (place.element->tag != "additionalpath") return {};
    qf::ustring const file = fs::absolute(qf::i18n::to_ustring(place.element->lastPiece),
                                          fs::path(fault.file).parent_path())
                                 .str();
    if (!fs::exists(file)) return {};
    try {
        Settings::importAsStandaloneObject(file);
        return {};
    } catch (std::exception const& error) {
        Fault result = fault;
        result.message = placedFault(faultOfImport(file, error)).toText();
        return faultAt(place, {}, result);
    }
}

Fault faultAt(FaultyElement const& place, std::string const& remark, Fault fault) {
    fault.line = place.element->line;
    fault.column = place.element->column;
    fault.key = place.name;
    fault.message = place.name + ": " + (remark.empty() ? "" : remark + ": ") + fault.message;
    return fault;
}

std::string duplicateRemark(Markup const& before) {
    return inQuotes(before.attribute("name")) + " stands at " + std::to_string(before.line) + ":" +
           std::to_string(before.column) + " already";
}

Fault placedFault(Fault const& fault, SettingsPtr const& product, std::string const& productName) {
    Fault result = fault;
    try {
        if (fault.file.empty()) return result;
        placeBrokenByte(result);
        Markup const top = settings::core::readMarkup(fault.file);
        if (fault.line != 0) return named(result, top);
        std::string const refusal = refusalOf(fault.file, fault.file);
        if (!refusal.empty()) return placedInFile(result, top, refusal);
        return product ? placedInProduct(result, top, product, productName) : result;
    } catch (std::exception const&) {
        return result;
    }
}

}  // namespace qbsettings
