#pragma once
#include <string>

/// Puts Lua behind the proxies for functions of the kind "ZENBAR": a package is a file PACKAGE.lua
/// of the folder that returns a table of functions. Call it before other threads use settings.
void installLua(std::string const& folder);
/// Puts the classes of the class path behind the proxies for functions of the kind "JAVA".
/// Likewise.
void installJava(std::string const& classPath);
