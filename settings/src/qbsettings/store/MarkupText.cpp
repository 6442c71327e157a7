#include <qbsettings/store/MarkupText.hpp>

#include <qbsettings/text/Text.hpp>
#include <settingscore/host/Filesystem.hpp>
#include <settingscore/host/I18n.hpp>

namespace qbsettings {

namespace fs = qf::filesystem;
using settings::core::Markup;

namespace {

std::string escaped(std::string const& text) {
    std::string result;
    for (char const c : text) {
        auto const code = static_cast<unsigned char>(c);
        bool const isPlain = code >= 0x20 && c != '<' && c != '>' && c != '&' && c != '"';
        result += isPlain ? std::string(1, c) : "&#" + std::to_string(code) + ";";
    }
    return result;
}

bool holdsText(Markup const& element) {
    return element.tag == "value" || element.tag == "choices" || element.tag == "min" ||
           element.tag == "max" || element.tag == "additionalpath";
}

/// What stands in an element that holds no text, but for white space.
std::string strayText(Markup const& element) {
    bool const isStray =
        !holdsText(element) && element.text.find_first_not_of(" \t\r\n") != std::string::npos;
    return isStray ? escaped(element.text) : std::string();
}

std::string ownText(Markup const& element, qf::ustring const& folder) {
    if (element.tag == "additionalpath") {
        fs::path const named = qf::i18n::to_ustring(element.lastPiece);
        return escaped(pathText(fs::absolute(named, fs::path(folder)).str()));
    }
    if (!holdsText(element)) return {};
    std::string const& text = element.tag == "value" ? element.text : element.lastPiece;
    bool const fits = text.find("]]>") == std::string::npos &&
                      text.find('\r') == std::string::npos && !text.empty();
    return fits ? "<![CDATA[" + text + "]]>" : escaped(text);
}

/// Adds the element with what is inside, as long as `left` elements last.
void append(std::string& text, Markup const& element, qf::ustring const& folder, std::size_t& left,
            char const* attributes) {
    --left;
    std::string const opening = openingTag(element);
    text.append(opening, 0, opening.size() - 1);
    text += attributes;
    text += ">" + ownText(element, folder);
    for (Markup const& child : element.children) {
        if (left == 0) break;
        append(text, child, folder, left, "");
    }
    // Behind the rest, so that what is wrong there comes first.
    text += strayText(element) + "</" + element.tag + ">";
}

}  // namespace

qf::ustring folderOf(qf::ustring const& file) { return fs::path(file).parent_path().str(); }

std::string openingTag(Markup const& element) {
    std::string text = "<" + element.tag;
    // The namespaces do not stand among the attributes.
    for (auto const& [name, value] : element.attributes) {
        if (name.find(':') == std::string::npos) text += " " + name + "=\"" + escaped(value) + "\"";
    }
    return text + ">";
}

std::string markupText(Markup const& top, qf::ustring const& folder, std::size_t count) {
    std::string text;
    append(text, top, folder, count, settingsNamespace);
    return text;
}

std::string markupText(Markup const& element, qf::ustring const& folder) {
    std::string text;
    std::size_t all = std::numeric_limits<std::size_t>::max();
    append(text, element, folder, all, "");
    return text;
}

}  // namespace qbsettings
