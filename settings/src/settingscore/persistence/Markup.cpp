#include <settingscore/persistence/Markup.hpp>

#include <settingscore/persistence/xml/FileSource.hpp>
#include <settingscore/persistence/xml/validating/ValidatingParser.hpp>

namespace settings::core {

Markup readMarkup(ustring const& file) {
    qf::filesystem::path const path(file);
    FileSource bytes(path);
    return parseMarkup({path, bytes});
}

}  // namespace settings::core
