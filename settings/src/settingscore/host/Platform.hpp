#pragma once

#include <string>

#include <settingscore/host/HostApi.hpp>

/// @file
/// Utilities of the host that have C names.

/// Loads or finds a shared library. `*status`, unless null, becomes 0 on success and something else
/// on failure. A name without a folder is looked for in the host's own folders first, then where
/// the system looks. A library is never unloaded.
QBHOST_API void* quGetModule(char const* fileName, int* status);
/// Address of a symbol that the library itself exports, null if it has none of that name.
QBHOST_API void* quFindSymbolInLibrary(void* handle, char const* name);
/// Text of this thread's last load failure.
QBHOST_API char const* quLastLibraryError();
/// Non-zero on the host's main signal thread, the one on which its execution engine runs.
QBHOST_API int quIsSignalThread();

/// The suffix of the files of shared libraries, with its dot; the same on every system.
QBHOST_API char const* quLibrarySuffix();

/// Context of the number conversions; they keep no state in this process.
struct qu_fpc_context;
/// @{
/// The context of the process; or one of the caller's own, made of the memory context and cleared
/// at its end.
QBHOST_API qu_fpc_context* quGetFpcContext();
QBHOST_API void* quGetMemoryContext();
QBHOST_API void qu_initialize_fpc_context(void* memory, qu_fpc_context** context);
QBHOST_API void qu_clear_fpc_context(qu_fpc_context* context);
/// @}
/// Shortest decimal that reads back as the same double, in `buffer` of at least 64 characters, with
/// a final NUL. Not-a-number and the infinities as "nan" and "inf" with a sign if they have one.
QBHOST_API char* qu_g_fmt(qu_fpc_context* context, char* buffer, double value);
/// The number at the start of the text (blanks before it are skipped), 0 if there is none; text
/// behind it is ignored. `end`, if not null, gets the place behind the number. `mode` is 0.
QBHOST_API double qu_strtod(qu_fpc_context* context, char const* text, char const** end, int mode);

/// Prints to the host's console.
QBHOST_API void quPrintf(char const* format, ...) __attribute__((format(printf, 1, 2)));
/// Prints `length` bytes to a stream of the host's console; stream 0 is its normal output.
QBHOST_API void quPutsn(int stream, char const* text, int length);

namespace qf::app {
/// Ends the process at once, without static destructors. A program may put another function in its
/// place, see the host's own header.
QBHOST_API void fast_exit(int status);
}  // namespace qf::app

namespace zx_array_api {
/// The rule for names of the scripting language: a letter, then letters, digits and "_", at most
/// 63 characters, none of the language's reserved words.
QBHOST_API bool zxIsValidVarName(std::string const& name);
}  // namespace zx_array_api
