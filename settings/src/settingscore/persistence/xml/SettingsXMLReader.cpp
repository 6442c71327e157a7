#include <settingscore/persistence/xml/SettingsXMLReader.hpp>

#include <set>

#include <settingscore/errors/FileExceptions.hpp>
#include <settingscore/host/Except.hpp>
#include <settingscore/host/Filesystem.hpp>
#include <settingscore/levels/SettingsLevelManager.hpp>
#include <settingscore/persistence/xml/FileSource.hpp>
#include <settingscore/persistence/xml/SchemaInForce.hpp>
#include <settingscore/persistence/xml/SettingsSaxHandler.hpp>
#include <settingscore/persistence/xml/plain/PlainReader.hpp>
#include <settingscore/persistence/xml/validating/ValidatingParser.hpp>
#include <settingscore/tree/MergeEngine.hpp>

namespace settings::core {

using exception::ErrorReadingSettingsData;
using qf::filesystem::path;

namespace {

/// Longer files are read by the validating parser alone, which needs not have them in memory.
constexpr std::size_t longestInMemory = std::size_t(64) << 20;

/// The plain reader does what it can. What is refused, is refused by the validating parser, which
/// sees the same bytes.
void parse(path const& file, SettingsSaxHandler& handler) {
    SchemaInForce schema;
    FileSource bytes(file);
    if (schema.isOurs() && bytes.takeWhole(longestInMemory)) {
        if (readPlain(bytes.taken(), handler)) return;
        handler.startAgain();
    }
    try {
        parseValidating(schema.source(), {file, bytes}, handler);
    } catch (qf::except::IMsgIDException const& error) {
        throw ErrorReadingSettingsData(exception::ContentRefused, error.GetUnicodeMessageTxt());
    }
}

boost::shared_ptr<SettingsImpl> readChain(ustring const& startingFile) {
    SettingsSaxHandler handler;
    path current = qf::filesystem::absolute(startingFile, path());
    path const baseDir = current.parent_path();
    std::set<path> visited;
    boost::shared_ptr<SettingsImpl> result;
    ustring conflictText;
    // Judges nothing in a load, nor while the files are put together.
    Validator topValidator;
    auto const takeNext = [&] {
        if (!handler.popNextPaths(current)) return false;
        current = qf::filesystem::absolute(current, baseDir);
        return true;
    };
    do {
        handler.setSettings({});
        // A chain of files that comes round to itself ends without an error.
        if (!visited.insert(current).second) continue;
        parse(current, handler);
        if (result) {
            result = detail::MergeEngine::foldFile(result, handler.getSettings(),
                                                   SettingsLevelManager::userLevel(), false,
                                                   conflictText, current.str())
                         .result;
        } else {
            result = handler.getSettings();
            result->contentInternal().validator.swap(topValidator);
        }
    } while (takeNext());

    if (!conflictText.empty()) {
        throw ErrorReadingSettingsData(
            exception::MergeFailed,
            u"Error merging Settings' files. The starting file is: " + startingFile);
    }
    if (result) result->contentInternal().validator.swap(topValidator);
    return result;
}

}  // namespace

boost::shared_ptr<SettingsImpl> SettingsXMLReader::getParsedSettings(ustring const& startingFile) {
    return readChain(startingFile);
}

}  // namespace settings::core
