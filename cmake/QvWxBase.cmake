# The base library of wxWidgets, without windows: qv_wxbase is what a room links. On Windows it is
# linked statically and installed with the package; elsewhere the system has it.
if(CMAKE_CROSSCOMPILING AND NOT EXISTS ${wxWidgets_CONFIG_EXECUTABLE})
    message(FATAL_ERROR "wxWidgets for Windows is missing: run tools/wxbase-mingw first")
endif()
find_package(wxWidgets 3.2 REQUIRED COMPONENTS base)

add_library(qv_wxbase INTERFACE)
target_include_directories(qv_wxbase SYSTEM INTERFACE ${wxWidgets_INCLUDE_DIRS})
target_compile_definitions(qv_wxbase INTERFACE ${wxWidgets_DEFINITIONS} wxUSE_GUI=0)
target_compile_options(qv_wxbase INTERFACE ${wxWidgets_CXX_FLAGS})
target_link_libraries(qv_wxbase INTERFACE ${wxWidgets_LIBRARIES})

# What programs link that use the installed static library: in CMake's words and in pkg-config's.
set(external_installed)
set(external_pc_libraries)
foreach(item IN LISTS wxWidgets_LIBRARIES)
    if(item MATCHES "^-pthread$" OR (WIN32 AND item MATCHES "^-L"))
        continue()
    elseif(IS_ABSOLUTE "${item}")
        install(FILES ${item} DESTINATION ${CMAKE_INSTALL_LIBDIR})
        cmake_path(GET item FILENAME name)
        list(APPEND external_installed $<INSTALL_PREFIX>/${CMAKE_INSTALL_LIBDIR}/${name})
        list(APPEND external_pc_libraries \${libdir}/${name})
    else()
        list(APPEND external_installed ${item})
        list(APPEND external_pc_libraries ${item})
    endif()
endforeach()
