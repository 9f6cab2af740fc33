# SPDX-License-Identifier: MIT
# What `cmake --install` adds to the programs: the plug-in interface, documents and examples.
include(CMakePackageConfigHelpers)

# The first number is that of the interface itself, VORN_PLUGIN_ABI.
file(STRINGS ${PROJECT_SOURCE_DIR}/include/vorn/plugin.h abi REGEX "^#define VORN_PLUGIN_ABI ")
string(REGEX MATCH "[0-9]+" abi "${abi}")
set(VORN_PLUGIN_VERSION ${abi}.${PROJECT_VERSION_MINOR}.${PROJECT_VERSION_PATCH})

add_library(vorn_plugin INTERFACE)
set_target_properties(vorn_plugin PROPERTIES EXPORT_NAME plugin)
target_include_directories(vorn_plugin INTERFACE $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
target_compile_definitions(vorn_plugin INTERFACE _TIME_BITS=64 _FILE_OFFSET_BITS=64)
install(FILES include/vorn/plugin.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/vorn)

# Nothing in it depends on the machine, so it lies below share.
set(package_dir ${CMAKE_INSTALL_DATADIR}/cmake/vorn-plugin)
write_basic_package_version_file(vorn-pluginConfigVersion.cmake VERSION ${VORN_PLUGIN_VERSION}
    COMPATIBILITY SameMajorVersion ARCH_INDEPENDENT)
install(TARGETS vorn_plugin EXPORT vorn-plugin)
install(EXPORT vorn-plugin NAMESPACE vorn:: FILE vorn-pluginConfig.cmake DESTINATION ${package_dir})
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/vorn-pluginConfigVersion.cmake DESTINATION ${package_dir})

# Paths in it are seen from its own place, so an installation may be moved.
set(pkgconfig_dir ${CMAKE_INSTALL_DATADIR}/pkgconfig)
file(RELATIVE_PATH VORN_PC_PREFIX /prefix/${pkgconfig_dir} /prefix)
configure_file(cmake/vorn-plugin.pc.in vorn-plugin.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/vorn-plugin.pc DESTINATION ${pkgconfig_dir})

install(FILES README.md LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY docs examples contrib DESTINATION ${CMAKE_INSTALL_DOCDIR})
# The service's fixed place for it is /etc/tarix, where the administrator's own may lie already.
install(FILES etc/vorn.cfg DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples)

# Where systemd looks: its own folders, which are beside ours when the prefix is /usr. The unit names
# the prefix, which `cmake --install --prefix` may set anew, so it is made then.
set(VORN_UNIT_DIR lib/systemd/system CACHE STRING "folder of the systemd unit")
set(start_check)
if(VORN_TOOLS)
    set(start_check "ExecStartPre=\${CMAKE_INSTALL_FULL_BINDIR}/vornctl check-config\\n")
endif()
install(CODE "
    cmake_path(APPEND CMAKE_INSTALL_PREFIX \"${CMAKE_INSTALL_BINDIR}\"
        OUTPUT_VARIABLE CMAKE_INSTALL_FULL_BINDIR)
    set(VORN_PLUGIN_DIR \${CMAKE_INSTALL_PREFIX}/lib/vorn)
    set(VORN_START_CHECK \"${start_check}\")
    configure_file(\"${PROJECT_SOURCE_DIR}/systemd/vorn.service.in\"
        \"${CMAKE_CURRENT_BINARY_DIR}/vorn.service\" @ONLY)")
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/vorn.service DESTINATION ${VORN_UNIT_DIR})
install(FILES systemd/sysusers.conf DESTINATION lib/sysusers.d RENAME vorn.conf)
install(FILES systemd/tmpfiles.conf DESTINATION lib/tmpfiles.d RENAME vorn.conf)

# Manual pages are made of the documents.
find_package(Python3 COMPONENTS Interpreter)
if(Python3_FOUND)
    set(man_dir ${CMAKE_CURRENT_BINARY_DIR}/man)
    file(GLOB documents CONFIGURE_DEPENDS docs/*.md)
    add_custom_command(OUTPUT ${man_dir}/made
        COMMAND ${Python3_EXECUTABLE} ${PROJECT_SOURCE_DIR}/scripts/make_man.py ${man_dir}
        COMMAND ${CMAKE_COMMAND} -E touch ${man_dir}/made
        DEPENDS scripts/make_man.py CHANGELOG.md ${documents} VERBATIM)
    add_custom_target(man ALL DEPENDS ${man_dir}/made)
    set(left_out PATTERN made EXCLUDE)
    if(NOT VORN_TOOLS)
        list(APPEND left_out PATTERN man1 EXCLUDE)
    elseif(VORN_INSTRUMENT_LIBS)
        list(APPEND left_out PATTERN tarix-sim.1 EXCLUDE)
    endif()
    install(DIRECTORY ${man_dir}/ DESTINATION ${CMAKE_INSTALL_MANDIR} ${left_out})
endif()
