#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include <settingscore/host/UString.hpp>

/// What the fuzz targets share. Each defines `fuzz`; an input is good if that returns.
namespace qbfuzz {

/// Tries one input. Whatever it throws is a finding.
void fuzz(std::string const& input);

/// A folder of this process, in memory where the machine has such a place. The environment names
/// its folders "toolbox" and "user" as those of the factory and of the user.
std::filesystem::path const& folder();

/// The pieces of an input, which are separated by NUL: a target that needs several texts takes the
/// first `count`, of which the last has the rest. Missing ones are empty.
std::vector<std::string> pieces(std::string const& input, std::size_t count);

/// Ends the process with a finding unless the condition holds. The texts are told.
void require(bool condition, std::string const& promise, std::string const& context = {});

}  // namespace qbfuzz
