# ostra_add_module(NAME SOURCES ... [LIBRARIES ...])
# A plug-in module: a shared object that the host loads. It exports its descriptor and nothing else.
set(OSTRA_MODULE_EXPORTS ${CMAKE_CURRENT_LIST_DIR}/module_exports.map)

function(ostra_add_module name)
  cmake_parse_arguments(module "" "" "SOURCES;LIBRARIES" ${ARGN})
  add_library(${name} MODULE ${module_SOURCES})
  target_link_libraries(${name} PRIVATE ostra::ostra ${module_LIBRARIES})
  set_target_properties(${name} PROPERTIES PREFIX "" CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON
                                           LINK_DEPENDS ${OSTRA_MODULE_EXPORTS})
  # A module uses its own descriptor even if the program has one; unique symbols would keep it in memory after unload.
  target_link_options(${name} PRIVATE -Wl,-Bsymbolic -Wl,--version-script=${OSTRA_MODULE_EXPORTS})
  target_compile_options(${name} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fno-gnu-unique>)
endfunction()
