#include <qbsettings/Warnings.hpp>

#include <algorithm>
#include <cmath>

#include <qbsettings/KeyState.hpp>
#include <qbsettings/Markup.hpp>
#include <qbsettings/Store.hpp>
#include <qbsettings/Text.hpp>
#include <qbsettings/Values.hpp>
#include <settingscore/host/Platform.hpp>
#include <settingscore/tree/Settings.hpp>

namespace qbsettings {

namespace {

std::string lowered(std::string text) {
    for (char& c : text) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return text;
}

std::string trimmed(std::string const& text) {
    constexpr char const* blanks = " \t\r\n";
    std::size_t const first = text.find_first_not_of(blanks);
    if (first == std::string::npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

// --- Words ----------------------------------------------------------------------------------

/// A reader who wrote this wants what it counts as.
bool meansFalse(std::string const& word) {
    static char const* const words[] = {"", "false", "0", "no", "off"};
    std::string const plain = lowered(trimmed(word));
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
    if (!trimmed(end).empty()) return {value, "nothing may stand behind the number"};
    bool const saysInfinity = lowered(text).find("inf") != std::string::npos;
    if ((std::isinf(number) && !saysInfinity) || number == 0)
        return {value, "no " + type + " is that number"};
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

    std::vector<Warning> run(Markup const& top) {
        if (!meansFalse(top.attribute("readonly"))) {
            add(top, "product-rule",
                "'readonly' on the product's own element has no effect; give it to the groups and "
                "keys inside");
        }
        if (Markup const* const function = top.find("validationfunc")) {
            add(*function, "product-rule",
                "'validationfunc' of the product's own element has no effect; give it to the "
                "groups and keys inside");
        }
        for (auto const& attribute : top.attributes) {
            if (attribute.first != "readonly") reviewAttribute(top, attribute);
        }
        for (Markup const& child : top.children)
            review(child, top, std::string());
        return warnings_;
    }

private:
    void add(Markup const& at, char const* code, std::string const& message) {
        warnings_.push_back({{file_, message, at.line, at.column}, code});
    }

    /// `type` is that of the values inside, empty outside of a type element.
    void review(Markup const& element, Markup const& parent, std::string type) {
        std::string const& tag = element.tag;
        for (auto const& attribute : element.attributes)
            reviewAttribute(element, attribute);
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
            "'" + element.tag + "' does nothing, since its type is " +
                (word.empty() ? "missing" : "\"" + word + "\"") +
                "; the types are \"C\", \"ZENBAR\" and \"JAVA\"");
    }

    void reviewText(Markup const& element, std::string const& type) {
        bool const addsUp = type == "string" && element.tag == "value";
        if (!addsUp && element.lastPiece != element.text) {
            add(element, "cut-text",
                "of " + inQuotes(element.text) + " only " + inQuotes(element.lastPiece) +
                    " counts, which stands behind the last entity or comment; write it as one "
                    "CDATA section");
            return;
        }
        Misreading const misreading = misread(element.text, type);
        if (misreading.value.empty()) return;
        add(element, type == "bool" ? "truth-word" : "misread-number",
            inQuotes(element.text) + " counts as " + misreading.value + "; " + misreading.reason);
    }

    qf::ustring const& file_;
    bool ofUser_;
    std::vector<Warning> warnings_;
};

// --- Values ---------------------------------------------------------------------------------

class ValueReview {
public:
    ValueReview(Context& context, UserFile const& file) : context_(context), file_(file) {}

    std::vector<Warning> run() {
        review(readMarkup(file_.path), file_.content, file_.product, file_.factoryFiles);
        return warnings_;
    }

private:
    /// `source` is the group in the user's file, `target` that in the tree, `definitions` are those
    /// in the factory files.
    void review(Markup const& markup, SettingsPtr const& source, SettingsPtr const& target,
                std::vector<SettingsPtr> const& definitions) {
        for (Markup const& element : markup.children) {
            bool const isKey = element.tag == "key";
            auto const childOf = [&](SettingsPtr const& group) {
                SettingsPtr const child = group->getChild(element.attribute("name"));
                return child && child->isLeafNode() == isKey ? child : SettingsPtr();
            };
            SettingsPtr const own = childOf(source);
            SettingsPtr const there = childOf(target);
            std::vector<SettingsPtr> inside;
            for (SettingsPtr const& definition : definitions) {
                if (SettingsPtr const found = childOf(definition)) inside.push_back(found);
            }
            // What the factory files lack is the user's own.
            if (!own || !there || inside.empty()) continue;
            if (isKey) {
                reviewKey(element, own, there);
            } else {
                review(element, own, there, inside);
            }
        }
    }

    void reviewKey(Markup const& element, SettingsPtr const& own, SettingsPtr const& target) {
        if (!isStoredOn(own, "user")) return;
        boost::any const value = valueOn(own, "user");
        try {
            target->getParent()->validateAny(target->getName(), value);
        } catch (std::exception const& error) {
            std::string const message =
                refusal(context_, target, error, elementTexts(value)).what() +
                std::string(file_.isLeftOut
                                ? "; this file is left out as a whole: change or remove "
                                  "the value here"
                                : "; the value here is in force all the same: change "
                                  "or remove it");
            Markup const& place = firstValue(element);
            warnings_.push_back({{file_.path, message, place.line, place.column}, "refused-value"});
        }
    }

    static Markup const& firstValue(Markup const& key) {
        for (Markup const& type : key.children) {
            if (Markup const* const value = type.find("value")) return *value;
        }
        return key;
    }

    Context& context_;
    UserFile const& file_;
    std::vector<Warning> warnings_;
};

}  // namespace

std::vector<Warning> warningsOfMarkup(qf::ustring const& file, Markup const& top, bool ofUser) {
    return MarkupReview(file, ofUser).run(top);
}

std::vector<Warning> warningsOfValues(Context& context, UserFile const& file) {
    return ValueReview(context, file).run();
}

}  // namespace qbsettings
