# expect(STATUS n [INPUT file] [OUT regex] [ERR regex] ARGS argument...): OUT and ERR must match all
# that was written to standard output and standard error; nothing when left out.
function(expect)
    cmake_parse_arguments(PARSE_ARGV 0 arg "" "STATUS;INPUT;OUT;ERR" "ARGS")
    if(NOT arg_INPUT)
        set(arg_INPUT /dev/null)
    endif()
    execute_process(COMMAND ${EMULATOR} ${QV} ${arg_ARGS} WORKING_DIRECTORY ${WORK}
                    INPUT_FILE ${arg_INPUT} OUTPUT_VARIABLE out ERROR_VARIABLE err
                    RESULT_VARIABLE status)
    string(REPLACE "\r\n" "\n" out "${out}")
    string(REPLACE "\r\n" "\n" err "${err}")
    if(NOT status STREQUAL arg_STATUS OR NOT out MATCHES "^${arg_OUT}$"
       OR NOT err MATCHES "^${arg_ERR}$")
        message(SEND_ERROR "qv ${arg_ARGS}\nstatus ${status}, wanted ${arg_STATUS}\n"
                           "out:\n${out}\nwanted:\n${arg_OUT}\nerr:\n${err}\nwanted:\n${arg_ERR}")
    endif()
endfunction()
