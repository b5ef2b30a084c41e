# Installs a build of the library into a fresh place, builds the consumer there with find_package
# and with pkg-config, and runs both:
#   cmake -DBUILD=build/release -DKIND=static|shared [-DTOOLCHAIN=file] [-DEMULATOR=program]
#         [-DSUFFIX=.exe] -P check.cmake
# The shared library is built below BUILD when BUILD itself is a static one.
cmake_minimum_required(VERSION 3.25)
cmake_path(GET CMAKE_CURRENT_LIST_DIR PARENT_PATH tests)
cmake_path(GET tests PARENT_PATH source)
set(work ${BUILD}/consumer-${KIND})
set(prefix ${work}/prefix)
file(REMOVE_RECURSE ${prefix} ${work}/build ${work}/plugin)

function(run)
    execute_process(COMMAND ${ARGN} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

function(expect_greeting)
    execute_process(COMMAND ${EMULATOR} ${ARGN} OUTPUT_VARIABLE output COMMAND_ERROR_IS_FATAL ANY)
    string(STRIP "${output}" output)
    if(NOT output STREQUAL "Example")
        message(FATAL_ERROR "${ARGN} printed \"${output}\"")
    endif()
endfunction()

set(toolchain)
if(TOOLCHAIN)
    # A cross build looks for packages in its own root alone.
    set(toolchain -DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN} -Dqvcore_DIR=${prefix}/lib/cmake/qvcore
                  -DCMAKE_EXE_LINKER_FLAGS=-static)
endif()

set(library ${BUILD})
if(KIND STREQUAL "shared")
    set(library ${work}/library)
    run(${CMAKE_COMMAND} -G Ninja -S ${source} -B ${library} -DCMAKE_BUILD_TYPE=Release
        -DBUILD_SHARED_LIBS=ON -DQV_BUILD_TESTS=OFF)
    run(${CMAKE_COMMAND} --build ${library})
endif()
run(${CMAKE_COMMAND} --install ${library} --prefix ${prefix})
execute_process(COMMAND ${EMULATOR} ${prefix}/bin/qv${SUFFIX} --version COMMAND_ERROR_IS_FATAL ANY)

# -Werror and the like must not come along: the consumer has warnings of its own.
run(${CMAKE_COMMAND} -G Ninja -S ${CMAKE_CURRENT_LIST_DIR} -B ${work}/build ${toolchain}
    -DCMAKE_PREFIX_PATH=${prefix})
run(${CMAKE_COMMAND} --build ${work}/build)
expect_greeting(${work}/build/consumer${SUFFIX})
if(TOOLCHAIN)
    # It looks for its library beside itself.
    file(GLOB libraries ${prefix}/bin/*.dll)
    file(COPY ${libraries} DESTINATION ${work}/build)
endif()
expect_greeting(${work}/build/consumer_host${SUFFIX})

# The plug-in that docs/plugins.md shows, in the qv that was installed.
set(example ${source}/examples/plugin)
file(READ ${source}/docs/plugins.md document)
foreach(file CMakeLists.txt beam.cpp)
    file(READ ${example}/${file} text)
    string(FIND "${document}" "${text}" place)
    if(place EQUAL -1)
        message(FATAL_ERROR "docs/plugins.md shows another ${file}")
    endif()
endforeach()
run(${CMAKE_COMMAND} -G Ninja -S ${example} -B ${work}/plugin ${toolchain}
    -DCMAKE_PREFIX_PATH=${prefix})
run(${CMAKE_COMMAND} --build ${work}/plugin)
execute_process(COMMAND ${EMULATOR} ${prefix}/bin/qv${SUFFIX} --settings none --plugins
                        ${work}/plugin -c
                        "app.addsubnode(projectTB, P)\napp.findnode(P).addsubnode(beamTB, laser)\n\
app.findnode(\"P/laser\").radius(1000)"
                OUTPUT_VARIABLE output COMMAND_ERROR_IS_FATAL ANY)
string(STRIP "${output}" output)
string(FIND "${document}" "prints `${output}`" place)
if(output STREQUAL "" OR place EQUAL -1)
    message(FATAL_ERROR "the plug-in printed \"${output}\"")
endif()

find_program(pkg_config NAMES pkg-config)
if(TOOLCHAIN OR NOT pkg_config)
    return()
endif()
file(GLOB_RECURSE pc ${prefix}/*/qvcore.pc)
cmake_path(GET pc PARENT_PATH pc_folder)
set(ENV{PKG_CONFIG_PATH} ${pc_folder})
execute_process(COMMAND ${pkg_config} --cflags --libs qvcore OUTPUT_VARIABLE flags
                OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${pkg_config} --variable=libdir qvcore OUTPUT_VARIABLE libdir
                OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
separate_arguments(flags UNIX_COMMAND "${flags}")
run(c++ -std=c++20 ${CMAKE_CURRENT_LIST_DIR}/main.cpp ${flags} -o ${work}/consumer-pc)
set(ENV{LD_LIBRARY_PATH} ${libdir})
expect_greeting(${work}/consumer-pc)
