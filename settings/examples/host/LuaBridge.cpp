#include <memory>
#include <type_traits>

#include <lua.hpp>
#include <settingscore/errors/SettingsException.hpp>
#include <settingscore/rules/ZRunTimeDefault.hpp>
#include <settingscore/rules/ZValidator.hpp>
#include <settingscore/value/AnyBridge.hpp>
#include <settingscore/value/MakeAny.hpp>
#include "Bridges.hpp"

using namespace settings::core;
using settingscore::boostany::makeAny;

// 1. From a settings value to one of your language: applyVisitor calls the operator with the C++
//    value that the boost::any holds, or without one if it is empty.
struct Push {
    lua_State* lua;
    void operator()() const { lua_pushnil(lua); }
    void operator()(bool value) const { lua_pushboolean(lua, value); }
    void operator()(ustring const& value) const {
        lua_pushstring(lua, qf::i18n::to_string(value).c_str());
    }
    template <class T>
    void operator()(T value) const {
        if constexpr (std::is_floating_point_v<T>) return lua_pushnumber(lua, value);
        lua_pushinteger(lua, static_cast<lua_Integer>(value));
    }
    template <class T>
    void operator()(std::vector<T> const& values) const {
        lua_newtable(lua);
        for (std::size_t i = 0; i < values.size(); lua_seti(lua, -2, lua_Integer(++i)))
            (*this)(static_cast<T const&>(values[i]));
    }
};

// 2. And back. The type has to be the key's own: here an integer of Lua serves int64 keys, a float
//    double ones, a table arrays of strings. Anything else is no value, which no key takes.
static boost::any valueOnTop(lua_State* lua) {
    if (lua_isinteger(lua, -1)) return makeAny(lua_tointeger(lua, -1));
    if (lua_type(lua, -1) == LUA_TNUMBER) return makeAny(lua_tonumber(lua, -1));
    if (lua_isstring(lua, -1)) return makeAny(std::string(lua_tostring(lua, -1)));
    if (!lua_istable(lua, -1)) return {};
    std::vector<std::string> texts;
    for (lua_Integer i = 1; lua_geti(lua, -1, i) == LUA_TSTRING; ++i, lua_pop(lua, 1))
        texts.emplace_back(lua_tostring(lua, -1));
    return makeAny(texts);
}

// 3. Finds and calls PACKAGE.FUNCTION(key, value).
static boost::any call(lua_State* lua, std::string const& package, std::string const& function,
                       std::string const& key, boost::any const& value) {
    lua_settop(lua, 0);
    lua_getglobal(lua, "require");
    lua_pushstring(lua, package.c_str());
    bool isDone = lua_pcall(lua, 1, 1, 0) == LUA_OK;
    if (isDone) {
        lua_getfield(lua, -1, function.c_str());
        lua_pushstring(lua, key.c_str());
        Push push{lua};
        settingscore::boostany::applyVisitor(push, value, true);
        isDone = lua_pcall(lua, 2, 1, 0) == LUA_OK;
    }
    if (isDone) return valueOnTop(lua);
    // An error of your language becomes a SettingsException: its text reaches who set the value.
    throw SettingsException("samplehost:Lua", luaL_tolstring(lua, -1, nullptr), key);
}

// 4. The proxies. The library calls them on the signal thread and refuses on any other, so that the
//    interpreter needs no lock. The validator's third argument, unused here, is the key's parent: a
//    function may read other settings from there.
void installLua(std::string const& folder) {
    std::shared_ptr<lua_State> const lua(luaL_newstate(), lua_close);
    luaL_openlibs(lua.get());
    lua_getglobal(lua.get(), "package");
    lua_pushstring(lua.get(), (folder + "/?.lua").c_str());
    lua_setfield(lua.get(), -2, "path");
    ZValidator::setZENBARValFuncInvokingProxyName(
        [lua](auto& package, auto& function, auto&, auto& key, auto& value) {
            call(lua.get(), package, function, key, value);
        });
    ZRunTimeDefault::setZRunTimeProxyFname([lua](auto& package, auto& function, auto* result) {
        *result = call(lua.get(), package, function, "", boost::any());
    });
}
