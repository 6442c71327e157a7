#include <qbsettings/store/Context.hpp>

#include <qbhost/QbHost.hpp>
#include <qbsettings/output/Complaints.hpp>
#include <qbsettings/output/Terminal.hpp>
#include <settingscore/persistence/DurableSaving.hpp>
#include <settingscore/persistence/SharedSaving.hpp>

namespace qbsettings {

Context::Context(DirectoryOptions const& options, Flags const& flags)
    : directories(options),
      tree(directories),
      writing(directories, tree, flags.replaceBroken),
      texts(directories),
      output(flags.quiet  ? Output::Form::nothing
             : flags.json ? Output::Form::json
                          : Output::Form::rows) {
    if (flags.quiet) Progress::turnOff();
    // Standard output is for data alone.
    qbhost::setConsole(&complainInPieces, &complainInPieces);
    settings::core::turnOnDurableSaving();
    settings::core::turnOnSharedSaving();
}

}  // namespace qbsettings
