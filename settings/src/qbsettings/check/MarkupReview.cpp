#include <qbsettings/check/MarkupReview.hpp>

#include <algorithm>
#include <cmath>
#include <iterator>

#include <qbsettings/check/NamePath.hpp>
#include <qbsettings/text/Text.hpp>
#include <qbsettings/text/Values.hpp>
#include <settingscore/host/Platform.hpp>
#include <settingscore/value/AsciiCase.hpp>

namespace qbsettings {

using settings::core::Markup;
using settings::core::detail::foldedAscii;

namespace {

constexpr char const* whiteSpace = " \t\r\n";

// --- Words ----------------------------------------------------------------------------------

/// A reader who wrote this wants what it counts as.
bool meansFalse(std::string const& word) {
    static char const* const words[] = {"", "false", "0", "no", "off"};
    std::string const plain = foldedAscii(trimmed(word, whiteSpace));
    return std::find(std::begin(words), std::end(words), plain) != std::end(words);
}

/// What a text counts as, and why, where that is not what it says.
struct Misreading {
    std::string value;
    std::string reason;
};

template <class Number>
Misreading misreadFloat(std::string const& text, std::string const& type) {
    char const* end = nullptr;
    double const read = qu_strtod(quGetFpcContext(), text.c_str(), &end, 0);
    if (read == 0) return {};
    auto const number = static_cast<Number>(read);
    std::string const value = elementTexts(boost::any(number)).front();
    if (!trimmed(end, whiteSpace).empty()) return {value, "nothing may follow the number"};
    bool const saysInfinity = foldedAscii(text).find("inf") != std::string::npos;
    if ((std::isinf(number) && !saysInfinity) || number == 0)
        return {value, "a " + type + " cannot hold that number"};
    return {};
}

Misreading misread(std::string const& text, std::string const& type) {
    if (type == "float") return misreadFloat<float>(text, type);
    if (type == "double") return misreadFloat<double>(text, type);
    if (type == "bool") {
        if (text == "true" || text == "1" || meansFalse(text)) return {};
        return {"false", "write 'true' or '1'"};
    }
    bool const isNegative = text[0] == '-' && text.find_first_of("123456789") != std::string::npos;
    if (type[0] != 'u' || !isNegative) return {};
    unsigned long const element = typeNamed(type).element;
    return {shortest(element, text), "it takes " + formOf(element)};
}

// --- Markup ---------------------------------------------------------------------------------

class MarkupReview {
public:
    MarkupReview(qf::ustring const& file, bool ofUser) : file_(file), ofUser_(ofUser) {}

    std::vector<Finding> run(Markup const& top) {
        path_.enter(top);
        if (!meansFalse(top.attribute("readonly"))) {
            add(top, "product-rule",
                "'readonly' on the product's own element has no effect; put it on the groups and "
                "keys inside");
        }
        if (Markup const* const function = top.find("validationfunc")) {
            add(*function, "product-rule",
                "'validationfunc' of the product's own element has no effect; put it on the "
                "groups and keys inside");
        }
        for (auto const& attribute : top.attributes) {
            if (attribute.first != "readonly") reviewAttribute(top, attribute);
        }
        for (Markup const& child : top.children)
            review(child, top, std::string());
        return findings_;
    }

private:
    void add(Markup const& at, char const* id, std::string const& message) {
        std::string const key = path_.text();
        findings_.push_back({{file_, key + ": " + message, at.line, at.column, key}, id});
    }

    /// `type` is that of the values inside, empty outside of a type element.
    void review(Markup const& element, Markup const& parent, std::string type) {
        path_.enter(element);
        std::string const& tag = element.tag;
        for (auto const& attribute : element.attributes)
            reviewAttribute(element, attribute);
        if (tag == "key") reviewTypes(element);
        if (tag == "validationfunc" || tag == "runtimedefault") {
            reviewFunction(element);
        } else if (tag == "metadata" && ofUser_) {
            add(element, "user-metadata",
                "'metadata' in a user file has no effect on a key of the factory's, and the next "
                "save drops it; declare ranges and choices in a factory file");
        } else if (parent.tag == "key" && tag != "key") {
            type = tag;
        } else if (tag == "value" || tag == "choices") {
            reviewText(element, type);
        } else if (tag == "min" || tag == "max") {
            // Those of a string are bounds on its length.
            reviewText(element, type == "string" ? "uint32" : type);
        }
        for (Markup const& child : element.children)
            review(child, element, type);
        path_.leave(element);
    }

    /// Of several type elements of a key, the last counts. (Of several validators as well, but a
    /// save writes that of a group once for each child.)
    void reviewTypes(Markup const& key) {
        Markup const* last = nullptr;
        for (Markup const& child : key.children) {
            if (child.tag == "validationfunc" || child.tag == "key") continue;
            if (last) {
                add(*last, "repeated-type",
                    "it has more than one type element, of which the last counts; remove this "
                    "one");
            }
            last = &child;
        }
    }

    void reviewAttribute(Markup const& element,
                         std::pair<std::string const, std::string> const& attribute) {
        auto const& [name, word] = attribute;
        if (name != "readonly" && name != "visible" && name != "anytype" && name != "undef") return;
        if (word == "true" || meansFalse(word)) return;
        add(element, "truth-word", name + "=\"" + word + "\" counts as false; write \"true\"");
    }

    void reviewFunction(Markup const& element) {
        std::string const word = element.attribute("type");
        if (word == "C" || word == "ZENBAR" || word == "JAVA") return;
        add(element, "function-type",
            "'" + element.tag + "' has no effect, because its type is " +
                (word.empty() ? "missing" : "\"" + word + "\"") +
                "; the types are \"C\", \"ZENBAR\" and \"JAVA\"");
    }

    void reviewText(Markup const& element, std::string const& type) {
        bool const addsUp = type == "string" && element.tag == "value";
        if (!addsUp && element.lastPiece != element.text) {
            add(element, "cut-text",
                "only " + inQuotes(element.lastPiece) + " of " + inQuotes(element.text) +
                    " counts, the part after the last entity or comment; write it as one CDATA "
                    "section");
            return;
        }
        Misreading const misreading = misread(element.text, type);
        if (misreading.value.empty()) return;
        add(element, type == "bool" ? "truth-word" : "misread-number",
            inQuotes(element.text) + " counts as " + misreading.value + "; " + misreading.reason);
    }

    qf::ustring const& file_;
    bool ofUser_;
    NamePath path_;
    std::vector<Finding> findings_;
};

}  // namespace

std::vector<Finding> findingsOfMarkup(qf::ustring const& file, Markup const& top, bool ofUser) {
    return MarkupReview(file, ofUser).run(top);
}

}  // namespace qbsettings
