# The library that applications link: every room's objects in one file, and its package.
get_property(rooms GLOBAL PROPERTY QV_ROOM_LIBRARIES)
get_property(externals GLOBAL PROPERTY QV_ROOM_EXTERNALS)
get_property(public_headers GLOBAL PROPERTY QV_PUBLIC_HEADERS)

set(objects)
foreach(room IN LISTS rooms)
    list(APPEND objects $<TARGET_OBJECTS:${room}>)
endforeach()
add_library(qvcore ${objects})
add_library(qvcore::qvcore ALIAS qvcore)
set_target_properties(qvcore PROPERTIES LINKER_LANGUAGE CXX VERSION ${PROJECT_VERSION}
                                        SOVERSION ${PROJECT_VERSION_MAJOR}
                                        RUNTIME_OUTPUT_NAME qvcore-${PROJECT_VERSION_MAJOR}
                                        RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
set(libraries qvcore)
set(system_libraries)
if(WIN32)
    set(system_libraries ws2_32 iphlpapi)
endif()

# On Windows programs that load plug-ins need a shared one, even where the library is static.
if(WIN32 AND NOT BUILD_SHARED_LIBS)
    add_library(qvcore_dll SHARED ${objects})
    add_library(qvcore::dll ALIAS qvcore_dll)
    set_target_properties(qvcore_dll PROPERTIES LINKER_LANGUAGE CXX EXPORT_NAME dll
                                                RUNTIME_OUTPUT_NAME qvcore-${PROJECT_VERSION_MAJOR}
                                                RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
    target_compile_definitions(qvcore_dll INTERFACE QVCORE_SHARED)
    list(APPEND libraries qvcore_dll)
endif()

# What Windows enters a plug-in by; part of every plug-in.
set(plugin_parts)
if(WIN32)
    add_library(qvcore_pluginstart STATIC qvutils/common/platform/pluginstart_win32.cpp)
    add_library(qvcore::pluginstart ALIAS qvcore_pluginstart)
    set_target_properties(qvcore_pluginstart PROPERTIES EXPORT_NAME pluginstart)
    target_include_directories(qvcore_pluginstart PRIVATE ${PROJECT_SOURCE_DIR})
    target_link_libraries(qvcore_pluginstart PRIVATE $<BUILD_INTERFACE:qv_compile>)
    set(plugin_parts qvcore_pluginstart)
endif()

# The umbrella header names every public header of every room.
set(umbrella_folder ${PROJECT_BINARY_DIR}/umbrella)
list(TRANSFORM public_headers REPLACE "(.+)" "#include \"\\1\"" OUTPUT_VARIABLE include_lines)
list(JOIN include_lines "\n" include_lines)
file(CONFIGURE OUTPUT ${umbrella_folder}/qvcore.h CONTENT "#pragma once\n\n${include_lines}\n")

foreach(library IN LISTS libraries)
    target_compile_features(${library} PUBLIC cxx_std_20)
    target_include_directories(${library}
        PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}> $<BUILD_INTERFACE:${umbrella_folder}>
               $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/qvcore>)
    target_link_libraries(${library} PUBLIC Threads::Threads PRIVATE $<BUILD_INTERFACE:qv_compile>)
    foreach(external IN LISTS externals)
        target_link_libraries(${library} PRIVATE $<BUILD_INTERFACE:${external}>)
    endforeach()
    # Programs that link a static library need the system's libraries too, and the toolkit's.
    target_link_libraries(${library} PRIVATE ${system_libraries})
    foreach(item IN LISTS external_installed)
        target_link_libraries(${library} PRIVATE $<INSTALL_INTERFACE:${item}>)
    endforeach()
endforeach()
target_compile_definitions(qvcore PUBLIC $<$<BOOL:${BUILD_SHARED_LIBS}>:QVCORE_SHARED>)
include(qvcorePlugins)

include(CMakePackageConfigHelpers)
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/qvcore)
configure_package_config_file(cmake/qvcoreConfig.cmake.in qvcoreConfig.cmake
                              INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(qvcoreConfigVersion.cmake COMPATIBILITY SameMajorVersion)
file(RELATIVE_PATH pc_to_prefix /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
set(pc_definitions $<$<BOOL:${BUILD_SHARED_LIBS}>:-DQVCORE_SHARED>)
list(TRANSFORM system_libraries PREPEND -l OUTPUT_VARIABLE pc_libraries)
if(NOT BUILD_SHARED_LIBS)
    list(APPEND pc_libraries ${external_pc_libraries})
endif()
list(JOIN pc_libraries " " pc_libraries)
configure_file(cmake/qvcore.pc.in qvcore.pc.in @ONLY)
file(GENERATE OUTPUT ${PROJECT_BINARY_DIR}/qvcore.pc INPUT ${PROJECT_BINARY_DIR}/qvcore.pc.in)

install(TARGETS ${libraries} ${plugin_parts} EXPORT qvcoreTargets)
install(EXPORT qvcoreTargets NAMESPACE qvcore:: DESTINATION ${package_dir})
install(FILES ${PROJECT_BINARY_DIR}/qvcoreConfig.cmake
              ${PROJECT_BINARY_DIR}/qvcoreConfigVersion.cmake
              ${PROJECT_SOURCE_DIR}/cmake/qvcorePlugins.cmake DESTINATION ${package_dir})
install(FILES ${PROJECT_BINARY_DIR}/qvcore.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
install(FILES ${umbrella_folder}/qvcore.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/qvcore)
foreach(header IN LISTS public_headers)
    cmake_path(GET header PARENT_PATH folder)
    install(FILES ${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/qvcore/${folder})
endforeach()
