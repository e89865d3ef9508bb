# What `cmake --install` puts where: headers, libostra, the modules, the tools, and the package for find_package(ostra).
include(CMakePackageConfigHelpers)

# Programs and modules find libostra beside themselves, wherever the tree is put.
set_target_properties(ostra_program ostra-kernelc PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
set_target_properties(ostra_kernelruntime ostra_plans PROPERTIES INSTALL_RPATH "$ORIGIN")
set_target_properties(parallelprogram drawport_vulkan PROPERTIES INSTALL_RPATH "$ORIGIN/../..")

install(TARGETS ostra ostra_kernelruntime ostra_plans ostra-kernelc EXPORT ostraTargets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(TARGETS parallelprogram drawport_vulkan LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/ostra/modules)

# Public headers are those whose functions a library exports, or that have the code themselves. Programs do not link with
# modules, so that of a module only interfaces, records and the language of kernels are public. tests/install checks it.
install(DIRECTORY ${PROJECT_SOURCE_DIR}/ostra DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING
  PATTERN "*.h" PATTERN "*.inl"
  REGEX "/ostra/(drawport_vulkan|shadercompiler|drawport/shading|render/noise)(/|$)" EXCLUDE
  REGEX "/ostra/core/zero_memory\\.h$" EXCLUDE
  REGEX "/ostra/crypt/conversion_base\\.h$" EXCLUDE
  REGEX "/ostra/(crypt|drawport|object|render)/host_classes\\.h$" EXCLUDE
  REGEX "/ostra/host_configuration\\.h$" EXCLUDE
  REGEX "/ostra/image/(exif|exr_channels|hdr_header|jpeg_session|orientation|picture_settings|png_session|tiff_layout|tiff_samples|tiff_session)\\.h$" EXCLUDE
  REGEX "/ostra/math/elementary_forms\\.inl$" EXCLUDE
  REGEX "/ostra/jobs/(current_job|job_queue|library_threads|shared_loop|worker_pool)\\.h$" EXCLUDE
  REGEX "/ostra/monitor/(event_buffers|trace_file)\\.h$" EXCLUDE
  REGEX "/ostra/object/(loaded_module|shared_object)\\.h$" EXCLUDE
  REGEX "/ostra/io/(open_folder|temporary_file)\\.h$" EXCLUDE
  REGEX "/ostra/process/process_guard\\.h$" EXCLUDE
  REGEX "/ostra/render/(gradient_table|noise_functions)\\.h$" EXCLUDE)
foreach(header
    base/kernel_checks.h
    kernelruntime/kernel_runtime.h
    program/counter_reads_interface.h
    program/dispatch_times_interface.h
    program/kernel_atomics.h
    program/kernel_base.h
    program/kernel_buffer.h
    program/kernel_class.h
    program/kernel_declaration_interface.h
    program/kernel_entry.h
    program/kernel_group_interface.h
    program/kernel_group_memories.h
    program/kernel_groups.h
    program/kernel_interface.h
    program/kernel_interface_reflection.h
    program/kernel_language.h
    program/kernel_lane_groups.inl
    program/kernel_lane_loops.inl
    program/kernel_lane_pairs.inl
    program/kernel_lanes.inl
    program/kernel_loops.h
    program/kernel_noise.h
    program/kernel_parameters.h
    program/kernel_prelude.h
    program/kernel_print_text.h
    program/kernel_range_interface.h
    program/kernel_registration.h
    program/kernel_report_interface.h
    program/kernel_steps.h
    program/noise_modes.h
    program/parallel_program.h
    program/parallel_program_reflection.h
    program/recorded_dispatches_interface.h
    program/shader_data_entries.h
    shaderloader/general_shader_loader_interface.h
    shaderloader/general_shader_loader_reflection.h
    textures/kernel_texture.h
    textures/sampler_types.h
    textures/sampling_data.h
    textures/texture_bind_data.h)
  get_filename_component(folder ${header} DIRECTORY)
  install(FILES ${PROJECT_SOURCE_DIR}/parallelprogram/${header}
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/parallelprogram/${folder})
endforeach()

install(FILES ${PROJECT_SOURCE_DIR}/plans/render_scene.h ${PROJECT_SOURCE_DIR}/plans/run_kernel.h ${PROJECT_SOURCE_DIR}/plans/usage_error.h ${PROJECT_SOURCE_DIR}/plans/work_observer.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/plans)

install(DIRECTORY ${PROJECT_SOURCE_DIR}/clients/cpp DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/clients FILES_MATCHING PATTERN "*.h")

# What `ostra check` compiles Metal text with; it has the name that Metal text includes.
install(FILES ${PROJECT_SOURCE_DIR}/ostra/shadercompiler/metal/metal_stdlib
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/ostra/shadercompiler/metal)

# The programs of the pages: each is built and run by a test.
install(DIRECTORY ${PROJECT_SOURCE_DIR}/tests/install/outside ${PROJECT_SOURCE_DIR}/tests/install/runtime
  ${PROJECT_SOURCE_DIR}/tests/install/chain ${PROJECT_SOURCE_DIR}/tests/install/files ${PROJECT_SOURCE_DIR}/tests/install/run DESTINATION ${CMAKE_INSTALL_DATADIR}/ostra/examples)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/tests/shaderloader/example/
  DESTINATION ${CMAKE_INSTALL_DATADIR}/ostra/examples/triangle)
# Without the notebooks: they draw scenes that only the repository has.
install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples/ DESTINATION ${CMAKE_INSTALL_DATADIR}/ostra/examples/gallery
  PATTERN README.md EXCLUDE PATTERN __pycache__ EXCLUDE PATTERN notebooks EXCLUDE)
# The picture that some of them start from unless they are given another one.
install(FILES ${PROJECT_SOURCE_DIR}/docs/pictures/scenes.png
  DESTINATION ${CMAKE_INSTALL_DATADIR}/ostra/examples/docs/pictures)
install(FILES ${PROJECT_SOURCE_DIR}/editors/gdb/ostra.py DESTINATION ${CMAKE_INSTALL_DATADIR}/ostra/gdb)
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
