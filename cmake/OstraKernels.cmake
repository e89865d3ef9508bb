# ostra_add_kernels(TARGET FILE... [FAST] [SCALAR] [SILENT] [CHECKED] [TYPE T])
# Makes each kernel file a kernel class of TARGET, with the file's whole name as its class ID, and puts the file, with the
# headers beside it, into TARGET's resource folder "shaders" for the program that runs on the GPU.
#
#   #include "<TARGET>_kernels.h"      declares GetKernels_<TARGET>() (characters other than letters and digits: "_"),
#   RegisterKernels(module, GetKernels_myapp())      which parallelprogram/program/kernel_registration.h registers.
#   #include "net.example.move.structs.h"     the structs in the buffers of net.example.move.krn, in ostra::kernelstructs
#   #include "net.example.move.kernel.h"      the parameters of net.example.move.krn as a struct in ostra::kernels, for
#                                             ostra::Session (clients/cpp/session.h)
#
# Arithmetic is as written, so that all processors and the GPU give the same bits. FAST allows the compiler to contract and
# reorder it, as --fast of the tool does. SCALAR runs one invocation at a time, not 4, 8 or 16 side by
# side (docs/kernels.md). SILENT leaves out PRINT and ASSERT, CHECKED puts in checks of indices, divisors and loops
# (docs/debugging.md). TYPE is what TYPE stands for in the files.
# May be called several times for one target. What cannot be meant stops the configuration with a message.

set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${CMAKE_CURRENT_LIST_DIR}/kernel_flags.txt)
file(STRINGS ${CMAKE_CURRENT_LIST_DIR}/kernel_flags.txt lines REGEX "^[a-z]")
foreach(line IN LISTS lines)
  separate_arguments(flags UNIX_COMMAND "${line}")
  list(POP_FRONT flags group)
  set(OSTRA_KERNEL_FLAGS_${group} ${flags})
endforeach()

function(ostra_add_kernels target)
  cmake_parse_arguments(PARSE_ARGV 1 kernels "FAST;SCALAR;SILENT;CHECKED" "TYPE" "")
  ostra_check_kernel_arguments()
  string(MAKE_C_IDENTIFIER ${target} name)
  set(folder ${CMAKE_CURRENT_BINARY_DIR}/${target}_kernels)
  set(flags ${OSTRA_KERNEL_FLAGS_all} ${OSTRA_KERNEL_FLAGS_exact})
  if(kernels_FAST)
    set(flags ${OSTRA_KERNEL_FLAGS_all} ${OSTRA_KERNEL_FLAGS_fast})
  endif()
  if(CMAKE_BUILD_TYPE STREQUAL "Debug" OR OSTRA_SANITIZE)
    list(REMOVE_ITEM flags -O3)
  endif()
  if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    # A loop that stays as it is, and functions that a file has for its GPU side only, are no mistakes.
    list(APPEND flags -Wno-pass-failed -Wno-unused-function)
  endif()
  set(type)
  if(kernels_TYPE)
    set(type --type ${kernels_TYPE})
  endif()
  set(forms)
  if(kernels_SCALAR)
    list(APPEND forms --scalar)
  endif()
  if(kernels_SILENT)
    list(APPEND forms --silent)
  endif()
  if(kernels_CHECKED)
    list(APPEND forms --checked)
  endif()

  foreach(file IN LISTS kernels_UNPARSED_ARGUMENTS)
    cmake_path(ABSOLUTE_PATH file BASE_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR} NORMALIZE)
    cmake_path(GET file FILENAME id)
    cmake_path(GET file STEM LAST_ONLY stem)
    set(source ${folder}/${id}.cpp)
    set(structs ${folder}/${stem}.structs.h)
    set(client ${folder}/${stem}.kernel.h)
    add_custom_command(
      OUTPUT ${source}
      BYPRODUCTS ${structs} ${client}
      COMMAND ${CMAKE_COMMAND} -E make_directory ${folder}
      COMMAND ostra::kernelc --id ${id} ${type} ${forms} --depfile ${source}.d --structs ${structs} --client ${client}
        ${file} ${source}
      DEPENDS ${file} ostra::kernelc
      DEPFILE ${source}.d
      COMMENT "Making the kernel class ${id}"
      VERBATIM)
    set_source_files_properties(${source} PROPERTIES COMPILE_OPTIONS "${flags}" SKIP_LINTING ON SKIP_PRECOMPILE_HEADERS ON)
    target_sources(${target} PRIVATE ${source})
    set_property(TARGET ${target} APPEND PROPERTY OSTRA_KERNEL_IDS ${id})
    ostra_add_kernel_resources(${target} ${file})
  endforeach()

  get_property(has_table TARGET ${target} PROPERTY OSTRA_KERNEL_TABLE)
  if(NOT has_table)
    set_property(TARGET ${target} PROPERTY OSTRA_KERNEL_TABLE ${name})
    set(table ${folder}/${name}_kernels)
    add_custom_command(
      OUTPUT ${table}.cpp ${table}.h
      COMMAND ${CMAKE_COMMAND} -E make_directory ${folder}
      COMMAND ostra::kernelc --table ${name} ${table}.cpp ${table}.h "$<TARGET_PROPERTY:${target},OSTRA_KERNEL_IDS>"
      DEPENDS ostra::kernelc
      COMMENT "Listing the kernel classes of ${target}"
      COMMAND_EXPAND_LISTS VERBATIM)
    # Not compiled with the options of the target's precompiled headers, if it has some.
    set_source_files_properties(${table}.cpp PROPERTIES SKIP_PRECOMPILE_HEADERS ON)
    target_sources(${target} PRIVATE ${table}.cpp ${table}.h)
    target_include_directories(${target} PRIVATE ${folder})
    # A number that may not fit a parameter is an error, as the language demands and Clang has it.
    target_compile_options(${target} PRIVATE $<$<AND:$<CXX_COMPILER_ID:GNU>,$<COMPILE_LANGUAGE:CXX>>:-Werror=narrowing>)
  endif()
endfunction()

# Looks at the arguments of ostra_add_kernels, in its scope.
macro(ostra_check_kernel_arguments)
  if(NOT TARGET ${target})
    message(FATAL_ERROR "ostra_add_kernels: there is no target \"${target}\"")
  endif()
  if(kernels_KEYWORDS_MISSING_VALUES)
    message(FATAL_ERROR "ostra_add_kernels(${target}): TYPE needs a value")
  endif()
  if(NOT kernels_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "ostra_add_kernels(${target}): there are no kernel files")
  endif()
  foreach(file IN LISTS kernels_UNPARSED_ARGUMENTS)
    cmake_path(ABSOLUTE_PATH file BASE_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR} NORMALIZE OUTPUT_VARIABLE path)
    get_source_file_property(is_generated ${path} GENERATED)
    if(file MATCHES "^-*[A-Z_]+$" AND NOT EXISTS ${path})
      message(FATAL_ERROR "ostra_add_kernels(${target}): there is no option ${file}; the options are FAST, SCALAR, SILENT, CHECKED and TYPE")
    elseif(NOT is_generated AND (NOT EXISTS ${path} OR IS_DIRECTORY ${path}))
      message(FATAL_ERROR "ostra_add_kernels(${target}): there is no kernel file ${path}")
    endif()
  endforeach()
endmacro()

# Copies a kernel file, and the headers with its name, beside the target's binary whenever it is built.
function(ostra_add_kernel_resources target file)
  cmake_path(GET file PARENT_PATH source_folder)
  cmake_path(GET file STEM LAST_ONLY stem)
  set(copies ${file})
  foreach(header ${source_folder}/${stem}.h ${source_folder}/${stem}_header)
    if(EXISTS ${header})
      list(APPEND copies ${header})
    endif()
  endforeach()
  get_target_property(kind ${target} TYPE)
  if(kind STREQUAL "OBJECT_LIBRARY")
    return()  # no binary of its own: who links it adds the resources
  endif()
  set(shaders $<TARGET_FILE_DIR:${target}>/shaders)
  add_custom_command(
    TARGET ${target} POST_BUILD
    COMMAND ${CMAKE_COMMAND} -E make_directory ${shaders}
    COMMAND ${CMAKE_COMMAND} -E copy_if_different ${copies} ${shaders}
    VERBATIM)
endfunction()
