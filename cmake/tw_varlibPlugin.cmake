# tw_add_plugin(NAME SOURCES...)
#
# Builds the plug-in module NAME.twp (no "lib" prefix) against tw::varlib. The
# module exports GetMetaInfo, ExecuteFunction, ValidateArguments and
# PlgCleanUp as extern "C" with default visibility; everything else keeps the
# visibility the sources give it. Installed, it finds the library through its
# RPATH ($ORIGIN/../.. from LIBDIR/tw_varlib/plugins).
function(tw_add_plugin name)
    if(ARGC LESS 2)
        message(FATAL_ERROR "tw_add_plugin(${name}): no sources given")
    endif()
    add_library(${name} MODULE ${ARGN})
    if(TARGET tw_varlib)
        # Inside the project's own tree: beside the library, where it looks first.
        target_link_libraries(${name} PRIVATE tw_varlib)
        set_target_properties(${name} PROPERTIES
            LIBRARY_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/${CMAKE_INSTALL_LIBDIR}/tw_varlib/plugins")
    else()
        target_link_libraries(${name} PRIVATE tw::varlib)
    endif()
    set_target_properties(${name} PROPERTIES
        PREFIX ""
        SUFFIX ".twp"
        CXX_STANDARD 20
        CXX_STANDARD_REQUIRED ON
        INSTALL_RPATH "$ORIGIN:$ORIGIN/../..")
endfunction()
