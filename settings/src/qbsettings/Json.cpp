#include <qbsettings/Json.hpp>

#include <cstddef>

#include <nlohmann/json.hpp>
#include <qbsettings/Failure.hpp>

namespace qbsettings {

namespace {

using Json = nlohmann::json;

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

}  // namespace

std::vector<std::string> parseJsonArray(std::string const& text) {
    ElementReader const reader = read(text);
    if (!reader.sawArray) throw Failure("an array is written as [1, 2]");
    return reader.elements;
}

std::string parseJsonString(std::string const& text) { return read(text).elements.at(0); }

}  // namespace qbsettings
