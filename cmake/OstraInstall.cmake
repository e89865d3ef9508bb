# What `cmake --install` puts where: headers, libostra, the modules, the tools, and the package for find_package(ostra).
include(CMakePackageConfigHelpers)

# Programs and modules find libostra beside themselves, wherever the tree is put.
set_target_properties(ostra_program ostra-kernelc PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
set_target_properties(parallelprogram drawport_vulkan PROPERTIES INSTALL_RPATH "$ORIGIN/../..")

install(TARGETS ostra ostra-kernelc EXPORT ostraTargets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(TARGETS parallelprogram drawport_vulkan LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/ostra/modules)
foreach(folder ostra parallelprogram)
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/${folder} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")
endforeach()
# What `ostra check` compiles Metal text with; it has the name that Metal text includes.
install(FILES ${PROJECT_SOURCE_DIR}/ostra/shadercompiler/metal/metal_stdlib
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/ostra/shadercompiler/metal)

# The programs of the pages: each is built and run by a test.
install(DIRECTORY ${PROJECT_SOURCE_DIR}/tests/install/outside DESTINATION ${CMAKE_INSTALL_DATADIR}/ostra/examples)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/tests/shaderloader/example/
  DESTINATION ${CMAKE_INSTALL_DATADIR}/ostra/examples/triangle)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs/ DESTINATION ${CMAKE_INSTALL_DOCDIR})

set(package ${CMAKE_INSTALL_LIBDIR}/cmake/ostra)
install(EXPORT ostraTargets NAMESPACE ostra:: DESTINATION ${package})
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/ostraConfig.cmake.in ${CMAKE_CURRENT_BINARY_DIR}/ostraConfig.cmake
  INSTALL_DESTINATION ${package})
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/ostraConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES
  ${CMAKE_CURRENT_BINARY_DIR}/ostraConfig.cmake
  ${CMAKE_CURRENT_BINARY_DIR}/ostraConfigVersion.cmake
  ${CMAKE_CURRENT_LIST_DIR}/OstraKernels.cmake
  ${CMAKE_CURRENT_LIST_DIR}/OstraModule.cmake
  ${CMAKE_CURRENT_LIST_DIR}/kernel_flags.txt
  ${CMAKE_CURRENT_LIST_DIR}/module_exports.map
  DESTINATION ${package})
