#pragma once

#include <memory>
#include <string_view>

#include <settingscore/host/Filesystem.hpp>
#include <settingscore/persistence/xml/ByteSource.hpp>

namespace settings::core {

/// The schema that files are to be valid by: what lies at its place below the host's root. What is
/// once read there counts for the rest of the process; a reading that fails is repeated.
class SchemaInForce {
public:
    SchemaInForce();

    /// True if it is, byte for byte, the one that the library was built with.
    bool isOurs() const { return isOurs_; }
    /// For the validating parser; its bytes can be read once.
    NamedSource source() { return {file_, *bytes_}; }

    /// The text that the library was built with.
    static std::string_view builtIn();

private:
    qf::filesystem::path file_;
    bool isOurs_ = false;
    std::unique_ptr<ByteSource> bytes_;
};

}  // namespace settings::core
