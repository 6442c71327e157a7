#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include <boost/any.hpp>

namespace qbsettings {

struct KeyType;

/// A line of the input of `set-many` that is to set something.
struct InputLine {
    std::size_t number;  ///< Counted from 1.
    std::string text;    ///< Without blanks at its ends; never empty.
};

/// The lines of a text but the empty ones and those that begin with "#".
std::vector<InputLine> linesOf(std::string const& text);

/// What a line says.
struct Assignment {
    std::string name;
    std::string value;  ///< As written, without blanks at its ends.
};

/// Splits "NAME = VALUE" at the first "=". @throws Failure; also for a text that is no UTF-8
Assignment parseAssignment(std::string const& line);

/// The texts of the elements of a value as written, for a key of that type: those of a JSON array
/// or of a JSON string in quotes, else the text as it stands. @throws Failure
std::vector<std::string> elementsAsWritten(std::string const& written, KeyType const& type);

/// A value as it is written in a line, for a key of that type: what `elementsAsWritten` reads.
std::string asWritten(boost::any const& value, KeyType const& type);

}  // namespace qbsettings
