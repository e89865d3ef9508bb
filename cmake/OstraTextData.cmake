# ostra_text_data(SOURCE HEADER header NAMESPACE namespace TEXT name FILE... [TEXT name FILE...]...)
# Makes the C++ file SOURCE in the build folder, which defines every `name` that `header` declares as the text of the files,
# one after the other: data that is written as files and belongs into a library.
#
#   ostra_text_data(support_text.cpp HEADER ostra/drawport/shading/support_text.h NAMESPACE ostra::shading
#     TEXT kGlsl glsl.txt)                  namespace ostra::shading { extern const std::string_view kGlsl; }
set(OSTRA_TEXT_DATA_SCRIPT ${CMAKE_CURRENT_LIST_DIR}/MakeTextData.cmake)

function(ostra_text_data source)
  cmake_parse_arguments(PARSE_ARGV 1 data "" "HEADER;NAMESPACE" "")
  set(output ${CMAKE_CURRENT_BINARY_DIR}/${source})
  set(files)
  set(texts)
  foreach(word IN LISTS data_UNPARSED_ARGUMENTS)
    if(word STREQUAL "TEXT" OR last STREQUAL "TEXT")
      list(APPEND texts ${word})
    else()
      cmake_path(ABSOLUTE_PATH word BASE_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR} NORMALIZE)
      list(APPEND files ${word})
      list(APPEND texts ${word})
    endif()
    set(last ${word})
  endforeach()
  # A list is one argument of the script with another separator.
  string(REPLACE ";" "|" texts "${texts}")
  add_custom_command(
    OUTPUT ${output}
    COMMAND ${CMAKE_COMMAND} -DOUTPUT=${output} -DHEADER=${data_HEADER} -DNAMESPACE=${data_NAMESPACE} "-DTEXTS=${texts}"
            -P ${OSTRA_TEXT_DATA_SCRIPT}
    DEPENDS ${files} ${OSTRA_TEXT_DATA_SCRIPT}
    COMMENT "Putting texts into ${source}"
    VERBATIM)
endfunction()

# ostra_text_table(SOURCE HEADER header NAMESPACE namespace TABLE name FILE...)
# Makes the C++ file SOURCE in the build folder, which defines the table `name` that `header` declares: the names of the
# files, without folders, and their texts.
#
#   namespace ostra::conformance { struct TextFile { std::string_view name, text; }; extern const std::span<const TextFile> kFiles; }
set(OSTRA_TEXT_TABLE_SCRIPT ${CMAKE_CURRENT_LIST_DIR}/MakeTextTable.cmake)

function(ostra_text_table source)
  cmake_parse_arguments(PARSE_ARGV 1 table "" "HEADER;NAMESPACE;TABLE" "")
  set(output ${CMAKE_CURRENT_BINARY_DIR}/${source})
  set(files)
  foreach(file IN LISTS table_UNPARSED_ARGUMENTS)
    cmake_path(ABSOLUTE_PATH file BASE_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR} NORMALIZE)
    list(APPEND files ${file})
  endforeach()
  string(REPLACE ";" "|" list "${files}")
  add_custom_command(
    OUTPUT ${output}
    COMMAND ${CMAKE_COMMAND} -DOUTPUT=${output} -DHEADER=${table_HEADER} -DNAMESPACE=${table_NAMESPACE}
            -DTABLE=${table_TABLE} "-DFILES=${list}" -P ${OSTRA_TEXT_TABLE_SCRIPT}
    DEPENDS ${files} ${OSTRA_TEXT_TABLE_SCRIPT}
    COMMENT "Putting texts into ${source}"
    VERBATIM)
endfunction()
