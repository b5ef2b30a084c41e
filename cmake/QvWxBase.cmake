# The base library of wxWidgets, without windows: qv_wxbase is what a room links. On Windows it is
# linked statically and comes with the package; elsewhere the system has it.
if(CMAKE_CROSSCOMPILING AND NOT EXISTS ${wxWidgets_CONFIG_EXECUTABLE})
    message(FATAL_ERROR "wxWidgets for Windows is missing: run tools/wxbase-mingw first")
endif()
find_package(wxWidgets 3.2 REQUIRED COMPONENTS base)

add_library(qv_wxbase INTERFACE)
target_include_directories(qv_wxbase SYSTEM INTERFACE ${wxWidgets_INCLUDE_DIRS})
target_compile_definitions(qv_wxbase INTERFACE ${wxWidgets_DEFINITIONS} wxUSE_GUI=0)
target_compile_options(qv_wxbase INTERFACE ${wxWidgets_CXX_FLAGS})
target_link_directories(qv_wxbase INTERFACE ${wxWidgets_LIBRARY_DIRS})
target_link_libraries(qv_wxbase INTERFACE ${wxWidgets_LIBRARIES})
