#pragma once

#include <filesystem>
#include <string>

#include <boost/lexical_cast/bad_lexical_cast.hpp>
#include <boost/numeric/conversion/cast.hpp>
#include <boost/shared_ptr.hpp>
#include <settingscore/errors/InternalError.hpp>
#include <settingscore/tree/SettingsImpl.hpp>

/// Between texts of settings files and trees.
namespace qbfuzz {

using NodePtr = boost::shared_ptr<settings::core::SettingsImpl>;

/// True if the work ends; false if it throws one of the errors that reading a file can have: the
/// library's own, or those of a number.
template <class Work>
bool reads(Work const& work) {
    try {
        work();
        return true;
    } catch (qf::except::IInternalException const&) {
    } catch (boost::bad_lexical_cast const&) {
    } catch (boost::numeric::bad_numeric_cast const&) {
    }
    return false;
}

/// Reads the text as the settings file of that path; empty if the reader refuses it.
NodePtr parse(std::filesystem::path const& file, std::string const& text);

/// A product that has loaded the text as its user file; empty if a load would tell of faults.
NodePtr load(std::filesystem::path const& file, std::string const& text);

/// True if a durable save takes the tree. `text` gets what it writes of the level "user".
bool isSaved(NodePtr const& top, std::string& text);

/// Requires that both trees say the same of their keys and groups, as far as a file holds it: not
/// ranges and choices, and of validators which one is in force for each key.
void requireSame(NodePtr const& a, NodePtr const& b, std::string const& context);

}  // namespace qbfuzz
