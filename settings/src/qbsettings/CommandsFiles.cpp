// Commands that write settings to files of the user's choice.

#include <qbsettings/Commands.hpp>
#include <qbsettings/Errors.hpp>
#include <qbsettings/Failure.hpp>
#include <qbsettings/Faults.hpp>
#include <qbsettings/KeyState.hpp>
#include <qbsettings/Names.hpp>
#include <qbsettings/OutputFile.hpp>
#include <qbsettings/Text.hpp>
#include <settingscore/tree/Settings.hpp>

namespace qbsettings {

using settings::core::Settings;

namespace {

/// The library leaves a file that is cut off where the disk was full, and says nothing.
void confirmReadable(OutputFile const& file) {
    try {
        Settings::importAsStandaloneObject(file.path());
    } catch (std::exception const& error) {
        throw Failure("the file could not be written whole: " +
                      faultOfImport(qf::ustring(), error).toText());
    }
}

}  // namespace

int exportCommand(Context& context, Arguments const& arguments) {
    if (!arguments.level.empty()) requireLevel(arguments.level);
    std::vector<boost::shared_ptr<Settings const>> nodes;
    for (std::string const& name : arguments.names)
        nodes.push_back(findNode(context, name));
    OutputFile file(arguments.to, arguments.force);
    context.loading([&] { Settings::exportSettings(nodes, file.path(), arguments.level); });
    if (!context.faults().empty()) {
        throw Failure("nothing was exported, since the settings could not be read whole");
    }
    confirmReadable(file);
    file.commit();
    return done;
}

int makeFactoryCommand(Context&, Arguments const& arguments) {
    namespace fs = qf::filesystem;
    qf::ustring const source =
        fs::absolute(fs::from_native(arguments.files.front()), fs::path()).str();
    SettingsPtr tree;
    try {
        tree = Settings::importAsStandaloneObject(source);
    } catch (std::exception const& error) {
        throw Failure(faultOfImport(source, error).toText());
    }
    unsigned int const version =
        arguments.version ? *arguments.version : tree->getVersionNumber().value_or(1);
    OutputFile file(arguments.to, arguments.force);
    Settings::createFactorySettingsFile(tree, file.path(), version);
    confirmReadable(file);
    file.commit();
    return done;
}

}  // namespace qbsettings
