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
install(DIRECTORY docs examples DESTINATION ${CMAKE_INSTALL_DOCDIR})
