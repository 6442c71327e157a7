#pragma once

#include <string>
#include <vector>

#include <boost/any.hpp>
#include <boost/optional.hpp>
#include <boost/shared_ptr.hpp>

namespace settings::core {
class Settings;
struct KeyDescription;
}  // namespace settings::core

/// Between the texts that people type and read, and the typed values of the library.
namespace qbsettings {

/// What a key holds.
struct KeyType {
    unsigned long element = 0;  ///< Index of the element type; 0 if it is open.
    bool array = false;
    bool any = false;  ///< Values of every type are taken.

    /// "int32", "array of string", "any"; "-" for a key without definition.
    std::string name() const;
};

KeyType typeOf(settings::core::KeyDescription const& description);
/// Type of a value that is there.
KeyType typeOf(boost::any const& value);
enum class TakesAny { no, yes };
/// Reads a type's name, as `KeyType::name` gives it; "any" where that is a type to choose.
/// @throws Failure, wrong usage
KeyType typeNamed(std::string const& name, TakesAny takesAny = TakesAny::no);

/// The elements of a value, one text each: numbers in the shortest form that reads back, bool as
/// "true" or "false". An empty value has none.
std::vector<std::string> elementTexts(boost::any const& value);

/// True if both have the same element type and texts; two NaN are the same here, and one value is
/// the same as an array of it.
bool isSame(boost::any const& a, boost::any const& b);

/// Makes a value of the element type from texts in UTF-8: an array if `type` says so or if there is
/// not just one text. @throws Failure that names the text and the type
boost::any makeValue(KeyType const& type, std::vector<std::string> const& texts);

/// A value that has the type and says nothing else: 0, an empty string, an array without elements.
boost::any blankValue(KeyType const& type);

/// The shortest form of what the library takes a text for; the text itself if it is no value.
std::string shortest(unsigned long element, std::string const& text);

/// What a text of the type looks like, for messages: "a whole number from 0 to 255".
std::string formOf(unsigned long element);

}  // namespace qbsettings
