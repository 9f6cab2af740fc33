# SPDX-License-Identifier: MIT
# Programs that load plug-ins offer them the functions of vorn/plugin.h, all of them and nothing else.
set(VORN_PLUGIN_LIST ${CMAKE_CURRENT_LIST_DIR}/plugin_interface.list)
file(READ ${VORN_PLUGIN_LIST} text)
string(REGEX MATCHALL "\n +[A-Za-z_]+" VORN_PLUGIN_FUNCTIONS "${text}")
list(TRANSFORM VORN_PLUGIN_FUNCTIONS STRIP)

# The version script hides what would be exported besides: the parts of a static C++ library, and the
# templates that a shared one has too.
set(VORN_PLUGIN_MAP ${CMAKE_BINARY_DIR}/plugin_interface.map)
list(JOIN VORN_PLUGIN_FUNCTIONS ";\n" text)
file(CONFIGURE OUTPUT ${VORN_PLUGIN_MAP} CONTENT "{ global:\n${text};\nlocal: *; };\n")

function(vorn_export_plugin_interface target)
    # ENABLE_EXPORTS would export every function of ours.
    set_target_properties(${target} PROPERTIES ENABLE_EXPORTS OFF)
    # Where plug-ins are found by name, as those that come along are.
    set_target_properties(${target} PROPERTIES BUILD_WITH_INSTALL_RPATH ON
        INSTALL_RPATH "$ORIGIN/../lib/vorn")
    # The program itself calls only some of them; the others are named, so that the linker takes them
    # out of the static libraries too.
    list(TRANSFORM VORN_PLUGIN_FUNCTIONS PREPEND "-Wl,--undefined=" OUTPUT_VARIABLE wanted)
    target_link_options(${target} PRIVATE ${wanted} -Wl,--dynamic-list=${VORN_PLUGIN_LIST})
    set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${VORN_PLUGIN_LIST} ${VORN_PLUGIN_MAP})
    # A sanitizer's own functions stay to be found, and it wants the C++ library shared. Else that is
    # in the program: the service depends on the C library alone, and to bind a shared one takes as long
    # as a short report. The compiler's unwinder is shared: the C library uses it to cancel a thread, and
    # a second one in the program would not know the first one's frames.
    if(NOT VORN_SANITIZE)
        target_link_options(${target} PRIVATE -static-libstdc++
            -Wl,--version-script=${VORN_PLUGIN_MAP})
    endif()
endfunction()
