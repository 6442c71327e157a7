#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <boost/any.hpp>
#include <qbsettings/text/Json.hpp>
#include <qbsettings/text/Values.hpp>

namespace qbsettings {

/// What stands in one place of the output: its text in a row, and the same in JSON, which is made
/// when it is asked for.
class Cell {
public:
    /// @{
    /// A text, the same in both forms.
    Cell(std::string text) : text_(std::move(text)) {}  // NOLINT: a text is a cell
    Cell(char const* text) : text_(text) {}             // NOLINT
    /// @}
    Cell(std::string text, Json const& json);

    /// A text; the "-" that stands for nothing in rows is null in JSON.
    static Cell orNothing(std::string text);
    /// The same for a level, which has a colour on a terminal.
    static Cell level(std::string name);
    /// A number, also in JSON.
    static Cell number(unsigned long number);
    /// "yes" or "no".
    static Cell truth(bool value);
    /// The value of a key of that type.
    static Cell value(boost::any value, KeyType const& type);

    std::string text() const;
    Json json() const;
    bool isLevel() const { return kind_ == Kind::level; }

private:
    enum class Kind { text, orNothing, level, value, json };

    Kind kind_ = Kind::text;
    std::string text_;
    boost::any value_;
    KeyType type_;
    std::shared_ptr<Json const> json_;
};

/// A cell under the name that it has in JSON.
struct Column {
    char const* name;
    Cell cell;
};

using Row = std::vector<Column>;

}  // namespace qbsettings
