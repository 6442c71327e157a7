#pragma once

#include <iosfwd>
#include <string>

#include <boost/shared_ptr.hpp>
#include <settingscore/rules/RunTimeDefault.hpp>
#include <settingscore/rules/Validator.hpp>
#include <settingscore/tree/TreeLock.hpp>

namespace settings::core {

class SettingsImpl;

/// Hands a text to the stream in one piece: lines and tags are put together first.
void put(std::ostream& stream, std::string const& text);

/// Four blanks a depth.
void writeIndent(unsigned long depth, std::ostream& stream);
void appendIndent(unsigned long depth, std::string& text);

/// The open tag of a node, a line. The topmost node of a file (`isTop`) comes with the file's first
/// line and the schema attributes.
void writeCurrentOpenTag(detail::HeldLock const& lock, std::ostream& stream, unsigned long depth,
                         boost::shared_ptr<SettingsImpl const> const& obj, bool isTop);
void writeCurrentCloseTag(std::ostream& stream, unsigned long depth, bool isLeaf);

/// One line, or nothing if there is no validator.
void writeValidator(Validator const& validator, std::ostream& stream, unsigned long depth);
/// One line, or nothing if there is no runtime default.
void writeRuntimeFunc(RunTimeDefault const& runTimeDefault, std::ostream& stream,
                      unsigned long depth);

}  // namespace settings::core
