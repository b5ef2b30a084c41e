# Windows programs from Debian's cross compiler, tried out under wine. The posix thread variant is
# named explicitly: the other one has no std::mutex.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)
# These libraries are none of Debian's: tools/wxbase-mingw and tools/sodium-mingw make them.
execute_process(COMMAND ${CMAKE_CURRENT_LIST_DIR}/../tools/wxbase-mingw --prefix
                OUTPUT_VARIABLE wxbase OUTPUT_STRIP_TRAILING_WHITESPACE)
execute_process(COMMAND ${CMAKE_CURRENT_LIST_DIR}/../tools/sodium-mingw --prefix
                OUTPUT_VARIABLE QV_SODIUM_ROOT OUTPUT_STRIP_TRAILING_WHITESPACE)
set(wxWidgets_CONFIG_EXECUTABLE ${wxbase}/bin/wx-config)
set(CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32 ${wxbase})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/../tools/wine-run)
