#pragma once

#include <functional>
#include <string>

#include <settingscore/host/ContextMgr.hpp>
#include <settingscore/host/UString.hpp>

/// What a program, or a test, can set in this host. All of it may be called at any time by any
/// thread.
namespace qbhost {

/// Where the host is installed; made absolute. Empty: the host's own rule again, which is the
/// environment variable QBHOST_ROOT, else the data folder that was installed with this library
/// (PREFIX/share/qbsettings), else the source tree that it was built from.
/// The host's folder "lib" holds libraries for callbacks; the folders listed in the environment
/// variable QBHOST_LIBRARY_PATH, separated by ":", come before it. Neither variable counts in a
/// process that has more rights than its caller.
QBHOST_API void setInstallPath(qf::ustring const& path);

/// Puts a test in the place of "is the calling thread the one that runs the execution engine?".
/// Empty: the thread that loaded this library, which is the default.
QBHOST_API void setSignalThread(std::function<bool()> isSignalThread);
/// Makes the calling thread the signal thread.
QBHOST_API void setSignalThreadToThisThread();

/// What gets a piece of text for the console.
using ConsoleSink = std::function<void(std::string const& text)>;
/// Takes over what the library prints to the host's console. Empty: the standard streams.
QBHOST_API void setConsole(ConsoleSink output, ConsoleSink error);

/// Takes the place of ending the process. Empty: the process ends. A function that returns lets the
/// caller go on, one that throws leaves the operation.
QBHOST_API void setFastExit(std::function<void(int status)> fastExit);

/// What gets a log record.
using LogSink =
    std::function<void(std::string const& logger, int severity, std::string const& text)>;
/// Hands the records of all loggers to `sink`, one at a time; what it throws is dropped. Empty: no
/// records are kept, which is the default unless the environment variable QBHOST_LOG has a text;
/// then they go to the standard error stream.
QBHOST_API void enableLog(LogSink sink);

using zbutil::contextmgr::ZcrID;

/// Starts an instance: makes and initialises a context of each registered factory. False, with
/// nothing done, if it is there already or if the id is not above that of the blessed instance. If
/// a context fails, those made are released, the instance is not there, and the exception goes on.
QBHOST_API bool startInstance(ZcrID id);
/// Ends an instance: it no longer resolves; its contexts are released, the last made first, and
/// destroyed. If it is current on this thread, the blessed instance becomes current first. All are
/// released, then the first exception goes on. The blessed instance stays resolvable, its contexts
/// are made again when it is next switched to. False if there is no such instance.
QBHOST_API bool endInstance(ZcrID id);
/// Makes the instance the one that the calling thread acts on: the contexts of the one before save,
/// those of the new one restore. False, with nothing done, if there is no such instance. Each
/// thread starts on the blessed instance.
QBHOST_API bool makeCurrent(ZcrID id);
/// The instance that the calling thread acts on, `UndefinedZcrID` if it has ended since.
QBHOST_API ZcrID currentInstance();

}  // namespace qbhost
