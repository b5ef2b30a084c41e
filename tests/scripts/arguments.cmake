# The arguments, the exit status and the streams of qv.
cmake_minimum_required(VERSION 3.25)
file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK}/folder)
file(WRITE ${WORK}/good.qv "app.numsubnodes()\r\napp.numsubnodes()")
file(WRITE ${WORK}/bad.qv "app.numsubnodes()\n\nx.y()\napp.numsubnodes()\n")
execute_process(COMMAND printf "\\357\\273\\277app.numsubnodes()\\n" OUTPUT_FILE ${WORK}/mark.qv)
file(WRITE ${WORK}/empty.qv "")
execute_process(COMMAND printf "app.numsubnodes()\\n\\0\\n" OUTPUT_FILE ${WORK}/zero.qv)

include(${CMAKE_CURRENT_LIST_DIR}/expect.cmake)

set(unknown "[^\n]*: x.y\\(\\): could not find item \"x.y\"\n")

expect(STATUS 0 OUT "qv 39\\.[^\n]*\n" ARGS --version)
expect(STATUS 0 OUT "usage: .*" ARGS --help)
expect(STATUS 2 ERR ".*unknown argument fun.*" ARGS fun)
expect(STATUS 2 ERR ".*unknown argument --fun.*" ARGS run --fun good.qv)
expect(STATUS 2 ERR ".*wrong use of -c.*" ARGS -c)
expect(STATUS 2 ERR ".*wrong use of run.*" ARGS -c 1 run good.qv)
expect(STATUS 2 ERR ".*run needs a file.*" ARGS run)

expect(STATUS 0 OUT "0\n" ARGS -c "app.numsubnodes()")
expect(STATUS 1 OUT "0\n0\n" ERR "-c:1${unknown}.*" ARGS -c "app.numsubnodes(); x.y(); app.numsubnodes()")
expect(STATUS 1 OUT "0\n" ERR "-c:1${unknown}.*"
       ARGS -c "app.numsubnodes(); x.y(); app.numsubnodes()" --stop-on-error)

expect(STATUS 0 OUT "0\n0\n" ARGS run good.qv)
expect(STATUS 0 OUT "0\n0\n" ARGS run -- good.qv)
expect(STATUS 0 OUT "0\n" ARGS run mark.qv)
expect(STATUS 0 ARGS run empty.qv)
expect(STATUS 0 OUT "0\n0\n" INPUT good.qv ARGS run -)
expect(STATUS 0 OUT "0\n0\n" INPUT good.qv)
expect(STATUS 1 OUT "0\n0\n" ERR "bad.qv:3${unknown}.*" ARGS run bad.qv)
expect(STATUS 1 OUT "0\n" ERR "bad.qv:3${unknown}.*" ARGS --stop-on-error run bad.qv good.qv)
expect(STATUS 1 OUT "0\n" ERR "standard input:3${unknown}.*" INPUT bad.qv ARGS --stop-on-error run -)

# Files that cannot be run do not keep the others from running.
expect(STATUS 1 OUT "0\n0\n" ERR "qv: missing.qv: [^\n]+\n" ARGS run missing.qv good.qv)
expect(STATUS 1 ERR "qv: missing.qv: [^\n]+\n" ARGS --stop-on-error run missing.qv good.qv)
expect(STATUS 1 ERR "qv: folder: [^\n]+\n" ARGS run folder)
expect(STATUS 1 ERR "qv: zero.qv:2: [^\n]*NUL[^\n]*\n" ARGS run zero.qv)

# A project that is left unsaved is told.
expect(STATUS 0 ERR "qv: project \"Gerät\" has not been saved\n"
       ARGS -c "app.addsubnode(\"projectTB\", \"Gerät\"); app.subnodes[1].setdirty(1)")

# Neither very long lines nor deep nesting end the program.
string(REPEAT "(" 100000 open)
string(REPEAT "app." 100000 deep)
string(REPEAT "x" 3000000 long)
file(WRITE ${WORK}/long.qv "${long}\napp.${open}\n${deep}x()\n\"${long}\napp.findnode(\"${long}\")\n"
                           "app.findnode${open}\n${open}\napp.subnodes[${long}]\napp.numsubnodes()\n")
expect(STATUS 1 OUT "0\n" ERR ".*" ARGS run long.qv)
