#pragma once

#include <string>

#include <settingscore/host/UString.hpp>
#include <settingscore/tree/TreeLock.hpp>
#include <xercesc/util/XercesDefs.hpp>

XERCES_CPP_NAMESPACE_BEGIN
class Attributes;
XERCES_CPP_NAMESPACE_END

/// Between the parser and the handlers. The parser's characters are UTF-16, as a `ustring`'s are;
/// nothing here depends on a locale.
namespace settings::core::XMLHelperFunctions {

/// Empty for a null text.
std::string XmlString2String(XMLCh const* text);

/// True if a name of the parser's is that of an element of ours, which is ASCII.
bool isSameTag(XMLCh const* name, std::string const& tag);

/// Value of the attribute of that name, empty if it is absent.
std::string getAttribute(xercesc::Attributes const& attributes, XMLCh const* name);
/// True if the attribute is exactly "true".
bool isTrue(xercesc::Attributes const& attributes, XMLCh const* name);

/// Proof of a lock for operations on nodes that a parse builds: no other thread reaches them, and
/// the tree lock is left alone.
detail::HeldLock privateTreeLock();

}  // namespace settings::core::XMLHelperFunctions
