# The Debian packages, one per component, made by `cpack` in the build folder:
#
#   libtw-varlib0             Libraries         libtw_corelib, libtw_snmplib, libtw_varlib
#   libtw-varlib-dev          Development       headers, .so links, CMake and pkg-config files
#   twhost                    Host              twhost, tw_tour, the example plug-ins, the web page
#   libtw-varlib-widgets0     Widgets           the plug-ins dialog library (Qt 6)
#   libtw-varlib-widgets-dev  WidgetsDevelopment  its header, .so link and CMake targets
#   twhost-dialog             HostDialog        the module behind `twhost dialog` (Qt 6)
#
# Only the last three bring Qt, so that a server (twhost alone) does not pull it in.
# dpkg-shlibdeps finds the run-time dependencies; those between our own packages
# are named here, at the exact version.
#
# lintian gives no error; the warnings kept, and why:
#   no-manual-page (twhost, tw_tour): `--help` is their documentation.
#   initial-upload-closes-no-bugs: these packages are not uploaded to Debian,
#     so there is no ITP bug to close.

# Debian's own convention (DEBFULLNAME, DEBEMAIL) gives the default; the
# fallback is for local builds only: set TW_PACKAGE_MAINTAINER for a release.
if(DEFINED ENV{DEBFULLNAME} AND DEFINED ENV{DEBEMAIL})
    set(TW_MAINTAINER_DEFAULT "$ENV{DEBFULLNAME} <$ENV{DEBEMAIL}>")
else()
    set(TW_MAINTAINER_DEFAULT "tw_varlib maintainers <tw-varlib@example.org>")
endif()
set(TW_PACKAGE_MAINTAINER "${TW_MAINTAINER_DEFAULT}" CACHE STRING
    "The Maintainer field of the Debian packages, \"Name <address>\"")
set(TW_PACKAGE_COPYRIGHT "2026 the tw_varlib developers" CACHE STRING
    "The Copyright field of the packages' copyright files")
# The sources carry no licence file; the packages say so until they do.
set(TW_PACKAGE_LICENSE "proprietary" CACHE STRING
    "The licence's short name in the packages' copyright files")
set(TW_PACKAGE_LICENSE_FILE "${CMAKE_CURRENT_LIST_DIR}/debian/license-proprietary.txt" CACHE FILEPATH
    "The licence's text in the packages' copyright files")

set(TW_DEB_REVISION 1)
set(TW_DEB_VERSION "${PROJECT_VERSION}-${TW_DEB_REVISION}")
set(TW_DEB_DIR "${PROJECT_BINARY_DIR}/debian")

# The licence text as a copyright file wants it: each line indented, blank
# lines as " .".
file(STRINGS "${TW_PACKAGE_LICENSE_FILE}" _tw_license_lines)
set(TW_PACKAGE_LICENSE_TEXT "")
foreach(_tw_line IN LISTS _tw_license_lines)
    if(_tw_line STREQUAL "")
        set(_tw_line ".")
    endif()
    string(APPEND TW_PACKAGE_LICENSE_TEXT " ${_tw_line}\n")
endforeach()
string(REGEX REPLACE "\n$" "" TW_PACKAGE_LICENSE_TEXT "${TW_PACKAGE_LICENSE_TEXT}")
configure_file("${CMAKE_CURRENT_LIST_DIR}/debian/copyright.in" "${TW_DEB_DIR}/copyright" @ONLY)
# SOURCE_DATE_EPOCH, where set, makes the date reproducible.
string(TIMESTAMP TW_DEB_DATE "%a, %d %b %Y %H:%M:%S +0000" UTC)

find_program(TW_GZIP gzip REQUIRED)

# tw_deb_package(COMPONENT NAME SECTION SYNOPSIS DESCRIPTION DEPENDS)
# Names the component's package and gives it its copyright file and changelog.
function(tw_deb_package component name section synopsis description depends)
    string(TOUPPER "${component}" upper)
    set(CPACK_DEBIAN_${upper}_PACKAGE_NAME "${name}" PARENT_SCOPE)
    set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION "${section}" PARENT_SCOPE)
    set(CPACK_DEBIAN_${upper}_PACKAGE_DEPENDS "${depends}" PARENT_SCOPE)
    # CPack takes the first line as the synopsis and formats the rest.
    set(CPACK_COMPONENT_${upper}_DESCRIPTION "${synopsis}\n${description}" PARENT_SCOPE)

    set(TW_DEB_PACKAGE "${name}")
    configure_file("${CMAKE_CURRENT_FUNCTION_LIST_DIR}/debian/changelog.in" "${TW_DEB_DIR}/${name}/changelog.Debian" @ONLY)
    execute_process(COMMAND "${TW_GZIP}" -9nf "${TW_DEB_DIR}/${name}/changelog.Debian" COMMAND_ERROR_IS_FATAL ANY)
    install(FILES "${TW_DEB_DIR}/copyright" "${TW_DEB_DIR}/${name}/changelog.Debian.gz"
        DESTINATION "${CMAKE_INSTALL_DATAROOTDIR}/doc/${name}"
        COMPONENT ${component} EXCLUDE_FROM_ALL)
endfunction()

set(_tw_exact "(= ${TW_DEB_VERSION})")
tw_deb_package(Libraries libtw-varlib0 libs
    "shared value library of the network-management platform"
    "tw_varlib gives host programs and plug-in modules one typed value with
script-style operators, ordered associative arrays and argument lists of such
values, their text, XML and JSON forms, plug-in modules called by function
name, a report service and a memory cache. This package holds the run-time
libraries: libtw_varlib and its siblings libtw_corelib (strings, times,
containers, files, XML, messages) and libtw_snmplib (SNMP PDUs)."
    "")
tw_deb_package(Development libtw-varlib-dev libdevel
    "shared value library of the network-management platform - development files"
    "tw_varlib gives host programs and plug-in modules one typed value with
script-style operators, its text, XML and JSON forms and plug-in modules
called by function name. This package holds what building against it needs:
the headers, the CMake package (find_package(tw_varlib), tw_add_plugin) and
the pkg-config file."
    "libtw-varlib0 ${_tw_exact}")
tw_deb_package(Host twhost net
    "host of the network-management platform's plug-in modules"
    "twhost loads the plug-in modules (NAME.twp) of a folder, lists them and
their functions, calls those functions, runs them as reports and serves them
over HTTP with a web page. The example plug-ins netinfo and tables and the
tw_tour program come with it."
    "libtw-varlib0 ${_tw_exact}")
set(CPACK_COMPONENTS_ALL Libraries Development Host)
if(TARGET tw_varlib_widgets)
    tw_deb_package(Widgets libtw-varlib-widgets0 libs
        "plug-ins dialog of the network-management platform (Qt 6)"
        "The dialog shows the plug-in modules that tw_varlib has loaded, their
functions and signatures, on Qt 6 Widgets. A library of its own, so that
hosts without a user interface never need Qt."
        "libtw-varlib0 ${_tw_exact}")
    tw_deb_package(WidgetsDevelopment libtw-varlib-widgets-dev libdevel
        "plug-ins dialog of the network-management platform - development files"
        "The header, the .so link and the CMake targets of the plug-ins dialog:
find_package(tw_varlib COMPONENTS widgets) gives tw::varlib_widgets."
        "libtw-varlib-dev ${_tw_exact}, libtw-varlib-widgets0 ${_tw_exact}, qt6-base-dev")
    tw_deb_package(HostDialog twhost-dialog net
        "plug-ins dialog command of twhost (Qt 6)"
        "With this package installed, `twhost dialog` shows the plug-in modules,
their functions and signatures in a window. It is kept apart from twhost so
that a server install does not pull in Qt."
        "twhost ${_tw_exact}, libtw-varlib-widgets0 ${_tw_exact}")
    list(APPEND CPACK_COMPONENTS_ALL Widgets WidgetsDevelopment HostDialog)
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_PACKAGE_NAME tw-varlib)
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
# Empty: CPack would put it before each component's own synopsis.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_PACKAGE_CONTACT "${TW_PACKAGE_MAINTAINER}")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)   # the debug information stays in the build
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE ${TW_DEB_REVISION})
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${TW_PACKAGE_MAINTAINER}")
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Our own libraries are not installed where dpkg-shlibdeps looks: it finds
# them in the build tree and leaves them to the Depends above.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${PROJECT_BINARY_DIR}/${CMAKE_INSTALL_LIBDIR}")
# The library packages tell dpkg-shlibdeps, run for packages built against
# them, which package and version their SONAMEs need, and run ldconfig
# through dpkg's trigger. CPack would also write postinst and postrm scripts
# calling ldconfig into them, but only when it runs dpkg-shlibdeps on them
# itself: for these two packages CPACK_PROJECT_CONFIG_FILE runs it instead.
set(TW_DEB_SHLIBDEPS_COMMANDS "")
function(tw_deb_library_package component package)
    set(lines "")
    set(files "")
    foreach(library IN LISTS ARGN)
        get_target_property(soversion ${library} SOVERSION)
        string(APPEND lines "lib${library} ${soversion} ${package} (>= ${PROJECT_VERSION})\n")
        list(APPEND files "$<TARGET_FILE:${library}>")
    endforeach()
    list(JOIN files " " files)
    file(WRITE "${TW_DEB_DIR}/${package}/shlibs" "${lines}")
    set(CPACK_DEBIAN_${component}_PACKAGE_CONTROL_EXTRA
        "${TW_DEB_DIR}/${package}/shlibs" "${CMAKE_CURRENT_FUNCTION_LIST_DIR}/debian/triggers" PARENT_SCOPE)
    set(CPACK_DEBIAN_${component}_PACKAGE_SHLIBDEPS OFF PARENT_SCOPE)
    string(APPEND TW_DEB_SHLIBDEPS_COMMANDS "tw_deb_shlibdeps(${component} \"${CPACK_DEBIAN_${component}_PACKAGE_DEPENDS}\" ${files})\n")
    set(TW_DEB_SHLIBDEPS_COMMANDS "${TW_DEB_SHLIBDEPS_COMMANDS}" PARENT_SCOPE)
endfunction()
tw_deb_library_package(LIBRARIES libtw-varlib0 tw_corelib tw_snmplib tw_varlib)
if(TARGET tw_varlib_widgets)
    tw_deb_library_package(WIDGETS libtw-varlib-widgets0 tw_varlib_widgets)
endif()
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION TRUE)
file(WRITE "${TW_DEB_DIR}/shlibdeps/debian/control" "")
file(GENERATE OUTPUT "${TW_DEB_DIR}/CPackProjectConfig.cmake" CONTENT "# Run by cpack before it makes the packages.
function(tw_deb_shlibdeps component depends)
    if(NOT CPACK_GENERATOR STREQUAL \"DEB\")
        return()
    endif()
    execute_process(COMMAND dpkg-shlibdeps -O --ignore-missing-info \"-l${CMAKE_LIBRARY_OUTPUT_DIRECTORY}\" \${ARGN}
        WORKING_DIRECTORY \"${TW_DEB_DIR}/shlibdeps\" OUTPUT_VARIABLE found ERROR_VARIABLE errors RESULT_VARIABLE failed)
    # Its warning that the files lie outside a package folder is expected.
    if(failed)
        message(FATAL_ERROR \"dpkg-shlibdeps failed for \${component}: \${errors}\")
    endif()
    string(REGEX REPLACE \"^shlibs:Depends=([^\\n]*).*\" \"\\\\1\" found \"\${found}\")
    if(depends)
        set(found \"\${depends}, \${found}\")
    endif()
    set(CPACK_DEBIAN_\${component}_PACKAGE_DEPENDS \"\${found}\" PARENT_SCOPE)
endfunction()
${TW_DEB_SHLIBDEPS_COMMANDS}")
set(CPACK_PROJECT_CONFIG_FILE "${TW_DEB_DIR}/CPackProjectConfig.cmake")
include(CPack)
