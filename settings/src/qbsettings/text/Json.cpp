#include <qbsettings/text/Json.hpp>

#include <cstddef>

#include <nlohmann/json.hpp>
#include <qbsettings/text/Failure.hpp>
#include <qbsettings/text/Text.hpp>
#include <qbsettings/text/Values.hpp>
#include <settingscore/value/ValueTraits.hpp>

namespace qbsettings {

namespace {

/// Gathers the texts of the elements, so that a number reaches the key's type as it was written.
class ElementReader : public nlohmann::json_sax<Json> {
public:
    std::vector<std::string> elements;
    bool sawArray = false;
    std::string problem;

    bool null() override { return refuse("null is no value"); }
    bool boolean(bool value) override { return add(value ? "true" : "false"); }
    bool number_integer(number_integer_t value) override { return add(std::to_string(value)); }
    bool number_unsigned(number_unsigned_t value) override { return add(std::to_string(value)); }
    bool number_float(number_float_t, string_t const& text) override { return add(text); }
    bool string(string_t& value) override { return add(value); }
    bool binary(binary_t&) override { return refuse("binary data is no value"); }
    bool start_object(std::size_t) override { return refuse("an object is no value"); }
    bool key(string_t&) override { return false; }
    bool end_object() override { return false; }
    bool start_array(std::size_t) override {
        if (sawArray) return refuse("an array cannot hold arrays");
        sawArray = true;
        return true;
    }
    bool end_array() override { return true; }
    bool parse_error(std::size_t position, std::string const&,
                     nlohmann::detail::exception const&) override {
        return refuse("the JSON is broken at character " + std::to_string(position));
    }

private:
    bool add(std::string const& text) {
        elements.push_back(text);
        return true;
    }
    bool refuse(std::string const& text) {
        problem = text;
        return false;
    }
};

ElementReader read(std::string const& text) {
    ElementReader reader;
    if (!Json::sax_parse(text, &reader)) throw Failure(reader.problem);
    return reader;
}

/// A number goes by its shortest text, so that a float shows no digits of a double.
Json elementOf(unsigned long element, std::string const& text) {
    if (element == settingscore::boostany::ValueTraits<qf::ustring>::index) return text;
    // It would be read as an integer, which has no sign there.
    if (text == "-0") return -0.0;
    Json const parsed = Json::parse(text, nullptr, false);
    return parsed.is_discarded() ? Json(text) : parsed;
}

}  // namespace

Json jsonOf(boost::any const& value, KeyType const& type) {
    KeyType const present = typeOf(value);
    Json elements = Json::array();
    for (std::string const& text : elementTexts(value))
        elements.push_back(elementOf(present.element, text));
    if (value.empty()) return nullptr;
    return type.array || present.array || elements.size() != 1 ? elements : elements.front();
}

std::vector<std::string> parseJsonArray(std::string const& text) {
    static std::string const form = "an array is written as [1, 2] or [\"a\", \"b\"]";
    if (text.empty() || text.front() != '[')
        throw Failure(inQuotes(text) + " is no array: " + form);
    try {
        return read(text).elements;
    } catch (Failure const& failure) {
        throw Failure(failure.what() + ("; " + form));
    }
}

std::string parseJsonScalar(std::string const& text) { return read(text).elements.at(0); }

std::string parseJsonString(std::string const& text) {
    try {
        return read(text).elements.at(0);
    } catch (Failure const& failure) {
        throw Failure(failure.what() + std::string("; a text in double quotes is a JSON string, "
                                                   "with \\\" and \\\\ for these two"));
    }
}

}  // namespace qbsettings
