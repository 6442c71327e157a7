#pragma once

#include <string>

#include <boost/any.hpp>

/// Types and values as C++ writes them.
namespace qbsettings {

/// The C++ type of an element type, such as "::std::string", by its index.
std::string cppType(unsigned long element);

/// A text in quotes; every byte that is not plain ASCII is escaped.
std::string cppText(std::string const& text);

/// A value of one element, in the element type.
std::string cppLiteral(unsigned long element, boost::any const& value);

}  // namespace qbsettings
