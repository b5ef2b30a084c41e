# Settings between runs of qv, and what they do to command files.
cmake_minimum_required(VERSION 3.25)
file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK}/config ${WORK}/materials)
set(ENV{QV_SETTINGS} "")
set(ENV{XDG_CONFIG_HOME} ${WORK}/config)
set(ENV{XDG_STATE_HOME} ${WORK}/state)
include(${CMAKE_CURRENT_LIST_DIR}/expect.cmake)

# The user's own store, then other places in its stead.
expect(STATUS 0 ARGS -c "app.settings.mainX = 17")
expect(STATUS 0 OUT "17\n" ARGS -c "app.settings.mainX")
expect(STATUS 0 OUT "17\n" ARGS -c "app.settings.mainX; app.settings.reset(\"mainX\")")
expect(STATUS 0 OUT "100\n" ARGS -c "app.settings.mainX")
expect(STATUS 0 ARGS --settings own.conf -c "app.settings.mainX = 3; app.settings.mainY = 4")
expect(STATUS 0 OUT "3\n" ARGS -c "app.settings.mainX" --settings own.conf)
expect(STATUS 0 OUT "100\n" ARGS --settings none -c "app.settings.mainX")
set(ENV{QV_SETTINGS} own.conf)
expect(STATUS 0 OUT "4\n" ARGS -c "app.settings.mainY")
expect(STATUS 2 ERR ".*wrong use of --settings.*" ARGS --settings)

# Many processes change the store at once: every change is in it afterwards.
set(keys mainX mainY mainWidth mainHeight projectWindowWidth projectWindowHeight cmdlineWindowWidth
         cmdlineWindowHeight)
set(all)
set(show)
foreach(key IN LISTS keys)
    string(APPEND all "\"$@\" -c 'app.settings.${key} = 23' & ")
    string(APPEND show "app.settings.${key};")
endforeach()
execute_process(COMMAND sh -c "${all} wait" sh ${EMULATOR} ${QV} WORKING_DIRECTORY ${WORK})
string(REPEAT "23\n" 8 all23)
expect(STATUS 0 OUT ${all23} ARGS -c "${show}")

# How command files are run. Where nobody is there to ask, the answer is to stop.
file(WRITE ${WORK}/three.qv "app.numsubnodes()\nx.y()\napp.numsubnodes()\n")
set(error "three.qv:2: x.y\\(\\): could not find item \"x.y\"\n.*")
file(WRITE ${WORK}/stop.conf "[options]\nstopOnError=1\n")
file(WRITE ${WORK}/pause.conf "[options]\npauseOnError=1\n")
file(WRITE ${WORK}/step.conf "[options]\nstepByStep=1\n")
expect(STATUS 1 OUT "0\n0\n" ERR ${error} ARGS --settings none run three.qv)
expect(STATUS 1 OUT "0\n" ERR ${error} ARGS --settings stop.conf run three.qv three.qv)
expect(STATUS 1 OUT "0\n" ERR "${error}go on after this error\\?\nqv: nobody is there[^\n]*\n"
       ARGS --settings pause.conf run three.qv three.qv)
file(WRITE ${WORK}/outer.qv "// runs another\napp.runfile(\"three.qv\")\napp.numsubnodes()\n")
expect(STATUS 1 OUT "0\n"
       ERR "${error}go on after this error\\?\nqv: nobody is there[^\n]*\nouter.qv:2: [^\n]*failed[^?]*"
       ARGS --settings pause.conf -c "app.runfile(\"outer.qv\"); app.numsubnodes()")
expect(STATUS 1 ERR "> app.runfile[^?]*run it\\?\nqv: nobody is there[^?]*"
       ARGS --settings step.conf run outer.qv)
expect(STATUS 1 ERR "> app.numsubnodes\\(\\)\nrun it\\?\nqv: nobody is there[^\n]*\n"
       ARGS --settings step.conf run three.qv)
expect(STATUS 0 OUT "0\n" ARGS --settings step.conf -c "app.numsubnodes()")

# What is recorded replays to the same project.
file(WRITE ${WORK}/make.qv "app.settings.commandLogFile = \"log.qv\"; app.settings.enableRecord = 1
app.addsubnode(\"projectTB\", \"P\"); Ref& p = app.subnodes[1]
p.addsubnode(\"notesTB\", \"n\"); nonsense; p.findnode(\"n\").text = \"a;\\\"b\\\" // c\"
app.saverecord(\"record.qv\"); p.savetofile(\"made.prj\")\n")
expect(STATUS 1 OUT "made.prj saved\n" ERR ".*nonsense.*" ARGS --settings none run make.qv)
foreach(file record.qv log.qv)
    file(RENAME ${WORK}/made.prj ${WORK}/first.prj)
    file(RENAME ${WORK}/${file} ${WORK}/of-${file})
    file(WRITE ${WORK}/replay.qv "app.runfile(\"of-${file}\")\napp.subnodes[1].savetofile(\"made.prj\")\n")
    execute_process(COMMAND ${EMULATOR} ${QV} --settings none run replay.qv WORKING_DIRECTORY ${WORK}
                    OUTPUT_QUIET ERROR_QUIET)
    foreach(project first made)
        file(STRINGS ${WORK}/${project}.prj ${project})
        list(FILTER ${project} EXCLUDE REGEX "savedate")
    endforeach()
    if(NOT first STREQUAL made)
        message(SEND_ERROR "${file} replays to another project:\n${made}\nwanted:\n${first}")
    endif()
endforeach()

# Recent files, and where materials are looked for.
expect(STATUS 0 OUT "made.prj loaded successfully\n" ARGS -c "app.openproject(\"made.prj\")")
expect(STATUS 0 OUT "made.prj loaded successfully\n[^\n]*\\[1\\][^\n]*made.prj\n"
       ARGS -c "app.openrecent(1); app.recentfiles")
file(WRITE ${WORK}/materials/own.mat "<materbase(2.21)>\nBEGIN Own\nRIX_POLYX 1 3\nEND\n")
expect(STATUS 1 ERR "qv: Could not find [^\n]*\n" ARGS material own.mat --list)
expect(STATUS 0 OUT "3\n" ARGS -c "app.settings.materialDir = \"materials\"; app.material(\"own.mat\", \"Own\").nr(0, 0, 1)")
expect(STATUS 0 OUT "name +model\nOwn +RIX_POLYX\n" ARGS material own.mat --list)

# Settings that cannot be read or kept keep nothing from working.
expect(STATUS 0 OUT "0\n" ERR "settings file \"[^\n]*materials\": [^\n]*\n.*could not be kept.*"
       ARGS --settings materials -c "app.settings.mainX = 1; app.numsubnodes()")
if(NOT EMULATOR)
    expect(STATUS 0 OUT "0\n" ERR "settings file \"/dev/zero\": is no file[^\n]*\n"
           ARGS --settings /dev/zero -c "app.numsubnodes()")
    expect(STATUS 1 ERR "qv: licence file \"/dev/zero\" is no file\n" ARGS --licence /dev/zero -c 1)
    expect(STATUS 1 ERR "qv licence: \"/dev/zero\" is no file\n" ARGS licence check KEY /dev/zero)
endif()
