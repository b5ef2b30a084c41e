# What plug-ins bring, how they fail, what is left of a project without them, and the licence.
cmake_minimum_required(VERSION 3.25)
file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK}/probe/materials ${WORK}/other/folder.plugin)
include(${CMAKE_CURRENT_LIST_DIR}/../../../scripts/expect.cmake)
set(ENV{QV_PLUGINS} none)
set(failed "a plugin failed to load - see Warnings\n")

function(fails name reason)
    set(all_failures
        "${all_failures}plugin \"${name}.plugin\" load failed:\n  ${reason}\n" PARENT_SCOPE)
endfunction()

# Every plug-in that fails says so itself, leaves nothing behind, and does not disturb the others.
set(all_failures)
fails(ageless "it does not tell what version of the library it was built against")
fails(breaksline "its name or version is too long or has characters that are not allowed")
fails(initialiser "an initialiser failed: no calibration")
fails(misnames "wrong name or number of arguments of a function: \"2x\"")
fails(nameless "it does not tell its name")
string(APPEND all_failures "\"noentry.plugin\" is not a plugin! Ignoring...\n")
fails(nosymbol "[^\n]*(symbolThatNobodyHas|Module not found)[^\n]*")
fails(old "it was built against qvcore.38.4., this program has qvcore.39.1.")
fails(posts "posted an error")
fails(refuses "the dongle is not plugged in")
fails(throws "no laser found")
fails(throwsnumber "its entry point threw an exception")
fails(twin "a plug-in \"probe\" is loaded already, from [^\n]*probe.plugin")
fails(typeless "a node type needs a class and a block type")
expect(STATUS 0 OUT "probe 2.1, A. Tester, [^\n]*probe.plugin\nqv, qvcore.39.1., an application\nP[^\n]*\n"
       ERR "${all_failures}${failed}"
       ARGS --plugins ${PLUGINS} -c
            "app.plugins(); app.probe(); app.addsubnode(projectTB, P); app.findnode(P).nodename()")
expect(STATUS 1 ERR "${all_failures}${failed}-c:1: [^\n]*node type \"faulty[a-zA-Z]*TB\" unknown\n.*"
       ARGS --plugins ${PLUGINS} --stop-on-error -c
            "app.addsubnode(projectTB, P); app.findnode(P).addsubnode(faultyStaticTB, x)")
foreach(type faultyTB faultyDirectTB)
    expect(STATUS 1 ERR ".*node type \"${type}\" unknown\n.*" ARGS --plugins ${PLUGINS} -c
           "app.addsubnode(projectTB, P); app.findnode(P).addsubnode(${type}, x)")
endforeach()
foreach(function faulty faultyDirect)
    expect(STATUS 1 ERR ".*qv: undefined function \"${function}\"\n.*"
           ARGS --plugins ${PLUGINS} eval "${function}(1)")
endforeach()

# Directories with other things in them. 0xB7 and 0xAA64 are processors of another kind.
file(COPY ${PLUGINS}/probe.plugin DESTINATION ${WORK}/probe)
file(WRITE ${WORK}/other/text.plugin "this is a poem\n")
file(WRITE ${WORK}/other/empty.plugin "")
file(WRITE ${WORK}/other/readme.txt "not a plug-in\n")
if(SYSTEM STREQUAL "Windows")
    set(machine "printf '\\144\\252' | dd bs=1 seek=132")
else()
    set(machine "printf '\\267' | dd bs=1 seek=18")
endif()
execute_process(COMMAND sh -c "head -c 5000 probe/probe.plugin >other/cut.plugin
cp probe/probe.plugin other/machine.plugin && ${machine} conv=notrunc of=other/machine.plugin"
                WORKING_DIRECTORY ${WORK} ERROR_QUIET)
set(all_failures)
foreach(name cut empty machine text)
    fails(${name} "[^\n]+")
endforeach()
expect(STATUS 0 OUT "0\n" ERR "${all_failures}${failed}"
       ARGS --plugins ${WORK}/other -c "app.numsubnodes()")
expect(STATUS 0 OUT "0\n" ERR "plugin dir \"[^\"]*nowhere\" does not exist\n"
       ARGS --plugins ${WORK}/nowhere -c "app.numsubnodes()")
expect(STATUS 0 OUT "0\n" ERR "plugin dir \"[^\"]*text.plugin\" does not exist\n"
       ARGS --plugins ${WORK}/other/text.plugin -c "app.numsubnodes()")

# What a plug-in brings is there for formulas, materials and the command language.
file(WRITE ${WORK}/probe/materials/probe.mat "<materbase(2.21)>\nBEGIN Air\nRIX_POLYX 1 1\nEND\n")
expect(STATUS 0 OUT "8\n" ARGS --plugins ${WORK}/probe eval "twice(4)")
expect(STATUS 0 OUT "name .*Air.*" ARGS --plugins ${WORK}/probe material probe.mat --list)
expect(STATUS 0 OUT "1\nProbeCommands\nmade\n" ARGS --plugins ${WORK}/probe -c
       "app.material(\"probe.mat\", Air).nr(0, 0, 1); app.makeprobe().objtype(); app.makeprobe().probe(); Set kept = app.makeprobe()")
expect(STATUS 1 OUT "0\n" ERR "-c:1: app.failprobe\\(\\): exception: no light\n" ARGS
       --plugins ${WORK}/probe -c "app.failprobe(); app.numsubnodes()")
expect(STATUS 1 ERR ".*function \"dark\": no light\n.*" ARGS --plugins ${WORK}/probe eval "dark(1)")
set(ENV{QV_PLUGINS} probe)
expect(STATUS 0 OUT "([^\n]*\n)*probe 2.1, [^\n]*\n" ARGS -c "app.plugins()")
expect(STATUS 0 OUT "([^\n]*\n)*probe 2.1, [^\n]*\n" ARGS --plugins probe/. -c "app.plugins()")
expect(STATUS 0 ARGS --plugins none -c "app.plugins()")
set(ENV{QV_PLUGINS} none)

# Without the plug-in its nodes and their files stay as they are.
expect(STATUS 0 OUT ".*saved\n" ARGS --plugins ${WORK}/probe -c
       "app.addsubnode(projectTB, P); Ref& p = app.findnode(P); p.addsubnode(probeTB, a); p.addsubnode(notesTB, n); p.findnode(a).depth = 3; p.savetofile(\"p.prj\")")
file(STRINGS ${WORK}/p.prj needs REGEX "// blocktype plugin pluginversion")
if(NOT needs STREQUAL "  probeTB probe 2.1 // blocktype plugin pluginversion")
    message(SEND_ERROR "p.prj needs \"${needs}\"")
endif()
expect(STATUS 1 OUT "p.prj loaded with 1 syntax errors\nprobe 2.1\nq.prj saved\n"
       ERR "node type \"probeTB\" unknown .needs the plug-in probe 2.1., kept as it is: .*" ARGS -c
           "app.openproject(\"p.prj\"); app.findnode(\"P/a\").plugin; app.findnode(P).savetofile(\"q.prj\")")
foreach(name p q)
    file(STRINGS ${WORK}/${name}.prj ${name}_lines)
    list(FILTER ${name}_lines EXCLUDE REGEX "savedate")
endforeach()
if(NOT p_lines STREQUAL q_lines)
    message(SEND_ERROR "${p_lines}\nbecame\n${q_lines}")
endif()
expect(STATUS 0 OUT "q.prj loaded successfully\n3\n" ARGS --plugins ${WORK}/probe -c
       "app.openproject(\"q.prj\"); app.findnode(\"P/a\").depth")
# So does one of a later version of the plug-in, and the file goes on telling of that.
string(REPLACE ";" "\n" later "${p_lines};")
string(REPLACE "probe 2.1" "probe 3.0" later "${later}")
string(REPLACE "<probeTB(1.0)>" "<probeTB(2.0)>" later "${later}")
file(WRITE ${WORK}/l.prj "${later}")
expect(STATUS 1 OUT "l.prj loaded with 1 syntax errors\nprobe 3.0\nl.prj saved\n"
       ERR "Unexpected version [^\n]*\n[^\n]*\n   kept as it is, written by the plug-in probe 3.0\n.*"
       ARGS --plugins ${WORK}/probe -c
           "app.openproject(\"l.prj\"); Ref& p = app.findnode(P); p.findnode(a).plugin; p.addsubnode(probeTB, b); p.savetofile(\"l.prj\")")
file(STRINGS ${WORK}/l.prj needs REGEX "// blocktype plugin pluginversion")
if(NOT needs STREQUAL "  probeTB probe 3.0 // blocktype plugin pluginversion")
    message(SEND_ERROR "l.prj needs \"${needs}\"")
endif()

# The licence.
file(WRITE ${WORK}/student "licence OPT-7 # of 2026\ndeny pro*.plugin \"not for students\"\n")
file(WRITE ${WORK}/expired "deny installation \"the licence ended in May\"\n")
file(WRITE ${WORK}/damaged "licence OPT-7\n\nallow\n")
set(ENV{QV_LICENCE})
expect(STATUS 0 OUT "s.prj saved\n"
       ERR "plugin \"probe.plugin\" is not allowed by the licence:\n  not for students\n"
       ARGS --licence student --plugins ${WORK}/probe -c
            "app.plugins(); app.addsubnode(projectTB, P); app.findnode(P).savetofile(\"s.prj\")")
file(READ ${WORK}/s.prj saved)
if(NOT saved MATCHES "  OPT-7 // licensenumber\n")
    message(SEND_ERROR "no licence number:\n${saved}")
endif()
foreach(command "-c;1" "eval;1" "run;/dev/null")
    expect(STATUS 1 ERR "qv: the licence ended in May\n" ARGS --licence expired ${command})
endforeach()
set(ENV{QV_LICENCE} damaged)
expect(STATUS 1 ERR "qv: licence file \"damaged\", line 3: nothing follows \"allow\"\n" ARGS -c 1)
expect(STATUS 1 ERR "qv: licence file \"nowhere\" cannot be read: [^\n]*\n" ARGS --licence nowhere -c 1)

# A licence that must be signed: its key is that of 31 zeros and a seven.
set(qv_without_key ${QV})
set(QV ${QV_WITH_KEY})
set(ENV{QV_LICENCE})
file(WRITE ${WORK}/signed "licence A-1\ndeny *.plugin\nsignature A69RVpiys4FVkHeEdz7yESHv5EW/gIhmVpvP7mO5MZcFW6rTp4JXPQe4eUAv8YrKptZN9q/xv28zwSFP5fRWBg==\n")
file(WRITE ${WORK}/free "allow *\n")
expect(STATUS 0 OUT "0\n" ERR "plugin \"probe.plugin\" is not allowed by the licence:\n[^\n]*\n"
       ARGS --licence signed --plugins ${WORK}/probe -c "app.numsubnodes()")
expect(STATUS 1 ERR "qv: licence file \"free\" is not signed\n" ARGS --licence free -c 1)
foreach(command "-c;1" "--licence;none;eval;1" "material;x")
    expect(STATUS 1 ERR "qv: a licence is needed: [^\n]*\n" ARGS ${command})
endforeach()
set(QV ${qv_without_key})

# Who wants to know which plug-ins were loaded turns the level of messages up.
file(WRITE ${WORK}/settings "[options]\ndiagnosticlevel=2\n")
expect(STATUS 0 OUT ".*loaded plugin \"probe.plugin\"\n.*" ARGS --settings ${WORK}/settings
       --licence none --plugins ${WORK}/probe -c "app.settings.diagnosticlevel")
