// The text statement that renames a node, from text to result, beside the same in Tcl and Lua.
#include <tcl.h>

#include <cstring>
#include <lua.hpp>
#include <string>

#include "bench/qvbench.h"
#include "qvutils/common/command/command_line.h"
#include "qvutils/common/diagnostics/diagnostics.h"
#include "qvutils/common/error/qverror.h"
#include "qvutils/ui/nodes/qvnotesnode.h"
#include "qvutils/ui/project/qvprojman.h"

namespace {

class Commands : public QVCommandBase {
public:
    QVObject* FindInApp(const char* name) override {
        return std::strcmp(name, "app") == 0 ? &getProjectManager() : nullptr;
    }
    void run(const char* text) {
        if (!Execute(text)) exitfn("%s", qverr().chars());
    }
};

void renameOurs(benchmark::State& state) {
    registerProjectNode();
    registerNotesNode();
    getProjectManager().ClearNodes();
    Commands commands;
    commands.run("app.addsubnode(\"projectTB\", \"wg1\")");
    for (auto _ : state) commands.run("app.subnodes[1].rename(\"wg2\")");
    getProjectManager().ClearNodes();
}
BENCHMARK(renameOurs);

/// The rivals rename a plain string, without checking the name or telling listeners.
int renameInTcl(ClientData name, Tcl_Interp* interp, int argc, Tcl_Obj* const argv[]) {
    if (argc != 3 || std::strcmp(Tcl_GetString(argv[1]), "rename") != 0) {
        Tcl_WrongNumArgs(interp, 1, argv, "rename newname");
        return TCL_ERROR;
    }
    *static_cast<std::string*>(name) = Tcl_GetString(argv[2]);
    return TCL_OK;
}

void renameTcl(benchmark::State& state) {
    std::string name;
    Tcl_Interp* interp = Tcl_CreateInterp();
    Tcl_CreateObjCommand(interp, "node1", renameInTcl, &name, nullptr);
    for (auto _ : state) {
        if (Tcl_Eval(interp, "node1 rename wg2") != TCL_OK) exitfn("Tcl failed");
    }
    Tcl_DeleteInterp(interp);
}
BENCHMARK(renameTcl);

int renameInLua(lua_State* lua) {
    *static_cast<std::string**>(lua_touserdata(lua, 1))[0] = luaL_checkstring(lua, 2);
    return 0;
}

void renameLua(benchmark::State& state) {
    std::string name;
    lua_State* lua = luaL_newstate();
    // app = { subnodes = { node } }, node being the program's object with a method rename.
    lua_newtable(lua);
    lua_newtable(lua);
    *static_cast<std::string**>(lua_newuserdatauv(lua, sizeof(std::string*), 0)) = &name;
    lua_newtable(lua);
    lua_newtable(lua);
    lua_pushcfunction(lua, renameInLua);
    lua_setfield(lua, -2, "rename");
    lua_setfield(lua, -2, "__index");
    lua_setmetatable(lua, -2);
    lua_rawseti(lua, -2, 1);
    lua_setfield(lua, -2, "subnodes");
    lua_setglobal(lua, "app");
    for (auto _ : state) {
        if (luaL_dostring(lua, "app.subnodes[1]:rename(\"wg2\")")) exitfn("Lua failed");
    }
    lua_close(lua);
}
BENCHMARK(renameLua);

}  // namespace

int main(int argc, char** argv) {
    return qvRunBenchmarks(
        argc, argv,
        {{"statement app.subnodes[1].rename(\"wg2\")", "renameOurs", "renameTcl", "Tcl", 1.0},
         {"statement app.subnodes[1].rename(\"wg2\")", "renameOurs", "renameLua", "Lua", 1.0 / 3}});
}
