# How every target of the house is compiled.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

find_program(QV_CCACHE ccache)
if(QV_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER ${QV_CCACHE})
endif()

find_package(Threads REQUIRED)

# GCC 12 raises false alarms (-Wrestrict) about its own string code when it optimises.
add_library(qv_compile INTERFACE)
target_include_directories(qv_compile INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_options(qv_compile INTERFACE -Wall -Wextra -Wpedantic -Wnon-virtual-dtor -Werror
                                            "$<$<CXX_COMPILER_ID:GNU>:-Wshadow=local;-Wno-restrict>"
                                            $<$<CXX_COMPILER_ID:Clang>:-Wno-unused-function>)
target_link_libraries(qv_compile INTERFACE Threads::Threads)
if(WIN32)
    target_compile_definitions(qv_compile INTERFACE _WIN32_WINNT=0x0A00 UNICODE _UNICODE
                                                    __USE_MINGW_ANSI_STDIO=1
                                                    $<$<BOOL:${BUILD_SHARED_LIBS}>:QVCORE_SHARED>)
    target_link_options(qv_compile INTERFACE -static)
endif()
if(QV_SANITIZE)
    target_compile_options(qv_compile INTERFACE -fsanitize=${QV_SANITIZE} -fno-omit-frame-pointer
                                                -fno-sanitize-recover=all)
    target_link_options(qv_compile INTERFACE -fsanitize=${QV_SANITIZE})
endif()
if(QV_BUILD_FUZZ)
    target_compile_options(qv_compile INTERFACE -fsanitize=fuzzer-no-link)
endif()

# Boost is used header-only. A cross build reaches the headers through a folder that holds nothing
# else, so that it never sees the rest of the system's include directory.
find_path(QV_BOOST_ROOT boost/regex.hpp PATHS /usr/include NO_CMAKE_FIND_ROOT_PATH REQUIRED)
add_library(qv_boost_headers INTERFACE)
if(CMAKE_CROSSCOMPILING)
    file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/headers)
    if(NOT EXISTS ${PROJECT_BINARY_DIR}/headers/boost)
        file(CREATE_LINK ${QV_BOOST_ROOT}/boost ${PROJECT_BINARY_DIR}/headers/boost SYMBOLIC)
    endif()
    target_include_directories(qv_boost_headers SYSTEM INTERFACE ${PROJECT_BINARY_DIR}/headers)
else()
    target_include_directories(qv_boost_headers SYSTEM INTERFACE ${QV_BOOST_ROOT})
endif()
