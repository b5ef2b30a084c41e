# The prompt at a terminal: editing, completion, the history of an earlier run, leaving.
cmake_minimum_required(VERSION 3.25)
file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK})
set(ENV{XDG_STATE_HOME} ${WORK}/state)
set(ENV{TERM} xterm)

# session(KEYS text WANTED regex): types KEYS at a prompt of its own and looks at the screen.
function(session keys wanted)
    file(WRITE ${WORK}/keys "${keys}")
    execute_process(COMMAND sh -c "sleep 1; while IFS= read -r line; do printf '%s\\n' \"$line\"; \
sleep 0.2; done <keys; sleep 1" COMMAND script -qec "${QV}" /dev/null WORKING_DIRECTORY ${WORK}
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
session("app.nonsense\nquit\n" "\ncould not find item \"nonsense\"\n")
session("app.addsubnode(\"projectTB\", \"P\")\napp.subnodes[1].setdirty(1)\nquit\nn\napp.numsubnodes()\nquit\ny\n"
        "project \"P\" has not been saved\n.*Leave without saving.*\n1\n.*has not been saved")
