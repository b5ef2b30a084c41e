# Plug-ins and the applications that load them; part of the package, and used by the tree itself.
#
#   qvcore::host    what an application that loads plug-ins links, in place of qvcore::qvcore
#   qvcore::plugin  what a plug-in is built with; it finds the library in the application
#
# There must be one library in a process, whose registries all share: it is the shared library, or
# the program itself when the library is a static one. Windows programs cannot lend their own
# symbols to plug-ins that do not know the program's name, so there the package always has a shared
# library for them.

# qvcore_add_plugin(NAME source...): the plug-in NAME.plugin.
function(qvcore_add_plugin name)
    add_library(${name} MODULE ${ARGN})
    target_link_libraries(${name} PRIVATE qvcore::plugin)
    set_target_properties(${name} PROPERTIES PREFIX "" SUFFIX .plugin CXX_VISIBILITY_PRESET hidden
                                             VISIBILITY_INLINES_HIDDEN ON
                                             WINDOWS_EXPORT_ALL_SYMBOLS OFF)
    if(MINGW)
        # The C++ run-time library is part of the plug-in, as it is of the programs.
        target_link_options(${name} PRIVATE -static)
    endif()
endfunction()

if(TARGET qvcore::host)
    return()
endif()
add_library(qvcore::host INTERFACE IMPORTED GLOBAL)
add_library(qvcore::plugin INTERFACE IMPORTED GLOBAL)
get_target_property(kind qvcore::qvcore TYPE)
if(TARGET qvcore::dll)
    target_link_libraries(qvcore::host INTERFACE qvcore::dll)
elseif(kind STREQUAL "SHARED_LIBRARY")
    target_link_libraries(qvcore::host INTERFACE qvcore::qvcore)
else()
    target_link_libraries(qvcore::host INTERFACE $<LINK_LIBRARY:WHOLE_ARCHIVE,qvcore::qvcore>)
    target_link_options(qvcore::host INTERFACE LINKER:--export-dynamic)
endif()
if(WIN32)
    target_link_libraries(qvcore::plugin INTERFACE qvcore::pluginstart qvcore::host)
    target_link_options(qvcore::plugin INTERFACE LINKER:--entry=qvPluginStart)
else()
    # Not linked: the symbols are found when the plug-in is loaded, in whatever holds the library.
    foreach(property INCLUDE_DIRECTORIES COMPILE_DEFINITIONS COMPILE_FEATURES)
        set_property(TARGET qvcore::plugin PROPERTY INTERFACE_${property}
                     $<TARGET_PROPERTY:qvcore::qvcore,INTERFACE_${property}>)
    endforeach()
endif()
