#pragma once

#include <string>

#include <settingscore/tree/TreeLock.hpp>

/// Between the parser and the handlers.
namespace settings::core::XMLHelperFunctions {

/// A text of the parser's, whose characters are UTF-16 as a `ustring`'s are. Depends on no locale.
/// Empty for a null text.
std::string XmlString2String(char16_t const* text);

/// Proof of a lock for operations on nodes that a parse builds: no other thread reaches them, and
/// the tree lock is left alone.
detail::HeldLock privateTreeLock();

}  // namespace settings::core::XMLHelperFunctions
