#include <atomic>
#include <climits>
#include <cstdlib>
#include <memory>
#include <string>

#include <dlfcn.h>
#include <link.h>

#include <settingscore/host/Log.hpp>
#include <settingscore/persistence/xml/UnreadableNow.hpp>
#include <settingscore/persistence/xml/module/ParserModule.hpp>

// The parser as the shared library has it: in a module, which is loaded when a file first needs it.

namespace settings::core {

namespace {

/// An address within this library.
int const anchor = 0;

/// The folder that this library lies in, behind all links; nothing of the environment has a say in
/// it. Empty if it can't be told.
std::string libraryFolder() {
    Dl_info info{};
    link_map* library = nullptr;
    if (::dladdr1(&anchor, &info, reinterpret_cast<void**>(&library), RTLD_DL_LINKMAP) == 0)
        return {};
    std::string file = info.dli_fname;
    if (file.empty() || file.front() != '/') {
        // The process may have gone elsewhere since; the system noted the folder at the start.
        char folder[PATH_MAX];
        if (::dlinfo(library, RTLD_DI_ORIGIN, folder) != 0) return {};
        file = std::string(folder) + "/" + file.substr(file.rfind('/') + 1);
    }
    std::unique_ptr<char, void (*)(void*)> const real(::realpath(file.c_str(), nullptr), std::free);
    if (real) file = real.get();
    return file.substr(0, file.rfind('/'));
}

void logFailure(std::string const& reason) {
    qf::log::basic_diagnostic_logger<char> const logger("settings::core");
    constexpr int severity = 1;
    if (logger.is_enabled(severity)) logger.record(severity, "Parser : " + reason);
}

ParserModule const* loadFrom(std::string const& file) {
    // Never closed if it is the right one: what it has made, grammars and exceptions, lives on.
    // Lazy for what the parser draws in, most of which is never called. All that the module calls
    // itself is looked up at once: it is linked so.
    void* const module = ::dlopen(file.c_str(), RTLD_LAZY | RTLD_LOCAL);
    if (!module) {
        char const* const reason = ::dlerror();
        logFailure(reason ? reason : file);
        return nullptr;
    }
    auto* const entry =
        reinterpret_cast<ParserModule::Entry*>(::dlsym(module, ParserModule::entryName));
    ParserModule const* const functions = entry ? entry(QBSETTINGSCORE_VERSION) : nullptr;
    if (!functions) {
        logFailure(file + " is of another version");
        ::dlclose(module);
    }
    return functions;
}

/// Threads that come at once each load it, which gives all the same. No lock of our own is taken:
/// the caller may hold others, and a child process must not find one held by a thread that it
/// lacks. A failure is not remembered.
ParserModule const& parserModule() {
    static std::atomic<ParserModule const*> loaded{nullptr};
    if (auto const* const functions = loaded.load(std::memory_order_acquire)) return *functions;
    std::string const folder = libraryFolder();
    for (char const* const place : {"/qbsettings/", "/"}) {
        if (auto const* const functions = loadFrom(folder + place + ParserModule::fileName)) {
            loaded.store(functions, std::memory_order_release);
            return *functions;
        }
    }
    throw UnreadableNow(exception::SaxPlugInNotFound, u"Failed to find SAX plug in.", 0);
}

}  // namespace

void parseValidating(NamedSource const& schema, NamedSource const& file, DocumentHandler& handler) {
    parserModule().parseValidating(schema, file, handler);
}

Markup parseMarkup(NamedSource const& file) { return parserModule().parseMarkup(file); }

}  // namespace settings::core
