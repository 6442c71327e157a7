#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include <boost/any.hpp>
#include <boost/shared_ptr.hpp>
#include <settingscore/host/UString.hpp>
#include <settingscore/tree/TreeLock.hpp>

namespace settings::core {

class SettingsImpl;

/// Stands for the element type of a key that takes values of any type.
struct ZenbarAny {};

/// Writes the type element of a key with its values on `level`, or, if that level owns the key's
/// runtime default, with the latter. T is one of the twelve element types or `ZenbarAny`; the
/// latter names the type of the value, and writes nothing if there is none.
template <class T>
void writeValues(detail::HeldLock const& lock, std::ostream& stream,
                 boost::shared_ptr<SettingsImpl const> const& obj, std::string const& level,
                 unsigned long depth);

/// One line for each element of the value, none for an empty value.
void writeData(std::ostream& stream, boost::any const& value, unsigned long depth);

/// The attributes of a key's type element: array sizes that are not 1, and "undef". `hasContent`
/// tells whether the element is to hold values or a runtime default.
std::string getAttributeStringStream(detail::HeldLock const& lock,
                                     boost::shared_ptr<SettingsImpl const> const& obj,
                                     bool hasContent);

/// Tag of the type element of a key that takes any type: empty for an empty value, "unsupported"
/// for an array, which such a key can hold in memory alone.
std::string getCurrentTypeTagName(boost::any const& value);

/// Puts one text into a line, as CDATA.
class ValueWriter {
public:
    explicit ValueWriter(std::string& line) : line_(line) {}
    void output(ustring const& text) const;

private:
    void replaceAndWriteOut(std::string const& utf8) const;
    std::string& line_;
};

/// Visitor of a first value: the writer of the key that takes its type from it. A key whose first
/// value is empty has settled no type, and is written as one that takes any.
struct ValueWritterSetter {
    using result_type = void (*)(detail::HeldLock const&, std::ostream&,
                                 boost::shared_ptr<SettingsImpl const> const&, std::string const&,
                                 unsigned long);

    result_type operator()() const { return &writeValues<ZenbarAny>; }
    template <class T>
    result_type operator()(T const&) const {
        return &writeValues<T>;
    }
    template <class T>
    result_type operator()(std::vector<T> const&) const {
        return &writeValues<T>;
    }
};

}  // namespace settings::core
