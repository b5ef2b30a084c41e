# The prompt at a terminal: editing, completion, the history of an earlier run, leaving.
cmake_minimum_required(VERSION 3.25)
file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK})
set(ENV{XDG_STATE_HOME} ${WORK}/state)
set(ENV{TERM} xterm)

# session_of(COMMAND text KEYS text WANTED regex): types KEYS at a terminal of its own and looks at the
# screen; session does so at the prompt.
function(session keys wanted)
    session_of(${QV} "${keys}" "${wanted}")
endfunction()

function(session_of command keys wanted)
    file(WRITE ${WORK}/keys "${keys}")
    execute_process(COMMAND sh -c "sleep 1; while IFS= read -r line; do printf '%s\\n' \"$line\"; \
sleep 0.2; done <keys; sleep 1" COMMAND script -qec "${command}" /dev/null WORKING_DIRECTORY ${WORK}
                    OUTPUT_VARIABLE screen RESULT_VARIABLE status TIMEOUT 60)
    string(REPLACE "\r" "" screen "${screen}")
    if(NOT screen MATCHES "${wanted}")
        message(SEND_ERROR "typed:\n${keys}\nwanted:\n${wanted}\nstatus ${status}, screen:\n${screen}")
    endif()
endfunction()

string(ASCII 9 tab)
string(ASCII 27 escape)
session("app.nums${tab})\nquit\n" "\n0\n")
session("${escape}[A\nquit\n" "\n0\n")
session("app.nonsense.x\nquit\n" "\ncould not find item \"nonsense\"\napp.nonsense.x\n    \\^~~~~~~~\n")
session("app.addsubnode(\"projectTB\", \"P\")\napp.subnodes[1].setdirty(1)\nquit\nn\napp.numsubnodes()\nquit\ny\n"
        "project \"P\" has not been saved\n.*Leave without saving.*\n1\n.*has not been saved")

# A mistake in a formula shows after its statement; why and uses find the node that has the name.
session("app.addsubnode(\"projectTB\", \"P\"); Ref& p = app.subnodes[1]
p.addsubnode(\"variablesTB\", \"v\"); Ref& v = p.findnode(\"v\")
v.addvariable(gap); v.setvariable(gap, 2*3); v.addvariable(width); v.setvariable(width, 2*gpa)
v.setvariable(width, 2*gap)
why width
uses gap
why widht
p.addsubnode(\"parametersTB\", \"r\"); p.findnode(\"r\").addparameter(width, double)
why width
quit
y
" "2\\*gpa\n  \\^~~\ndid you mean gap.*why width\nwidth = 2\\*gap.*gap = 2\\*3 *.6.*uses gap\n\
.*width = 2\\*gap.*no open project has a variable or parameter \"widht\"\ndid you mean width\\?.*\
write one of:\n  app.findnode.\"P/v\".\\.why.width.\n  app.findnode.\"P/r\".\\.why.width.\n")

# The calculator at a terminal.
session_of("${QV} eval --set a=3" "b = 2*a\na+${tab}b\nsq${tab}b+3)\n1+\nquit\n"
           "a\\+b\n9\n.*sqrt\\(b\\+3\\)\n3\n.*parse error\n1\\+\n \\^\n")

# Command files at a terminal: a question before each command and after each error.
file(WRITE ${WORK}/three.qv "app.numsubnodes()\nx.y()\napp.getwdir()\n")
file(WRITE ${WORK}/step.conf
     "[options]\nstepByStep=1\npauseOnError=1\nstartupDir=${WORK}/state\ncurrentDir=/\n")
session_of("${QV} --settings step.conf run three.qv" "\nall\ny\n"
           "> app.numsubnodes\\(\\)\nrun it\\? \\[Y/n/all\\] *\n0\n> x.y\\(\\)\nrun it.*all\n.*could not find.*\
go on after this error\\? \\[Y/n\\] y\n${WORK}\n")
session_of("${QV} --settings step.conf" "app.getwdir()\napp.runfile(\"../three.qv\")\nn\nquit\n"
           "${WORK}/state\n.*run it\\? \\[Y/n/all\\] n\n\"../three.qv\" failed or was stopped\n")
