# Runs the tests of the extension in the interpreter that it was built for.

set(environment "PYTHONPATH=${PROJECT_BINARY_DIR}")
if(CMAKE_CROSSCOMPILING)
  list(APPEND environment EMULATED=1)
endif()
if("address" IN_LIST MCP_RESPONSES_SANITIZE)
  # The interpreter is not sanitized, so the runtime is preloaded. Without libstdc++ next to it, the first C++ exception
  # would abort. The interpreter does not free all memory at its end, so tests count leaks instead.
  foreach(library IN ITEMS libasan.so libstdc++.so)
    execute_process(COMMAND "${CMAKE_CXX_COMPILER}" -print-file-name=${library}
      OUTPUT_VARIABLE path OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    list(APPEND preload "${path}")
  endforeach()
  list(JOIN preload ":" preload)
  list(APPEND environment "LD_PRELOAD=${preload}" PYTHONMALLOC=malloc
    ASAN_OPTIONS=detect_leaks=0:allocator_may_return_null=1 UBSAN_OPTIONS=print_stacktrace=1)
endif()

# The files are globbed, so that none is forgotten. The interpreter's own checks are on, and warnings are errors.
foreach(folder IN ITEMS mcp_responses mcp_client schemas docs)
  file(GLOB test_files CONFIGURE_DEPENDS RELATIVE "${CMAKE_CURRENT_SOURCE_DIR}/${folder}"
    "${CMAKE_CURRENT_SOURCE_DIR}/${folder}/test_*.py")
  foreach(file IN LISTS test_files)
    cmake_path(GET file STEM stem)
    add_test(NAME ${folder}.${stem}
      COMMAND "${Python_EXECUTABLE}" -X dev -W error -bb -m unittest discover --verbose
        --start-directory "${CMAKE_CURRENT_SOURCE_DIR}/${folder}" --pattern ${file})
    set_tests_properties(${folder}.${stem} PROPERTIES
      ENVIRONMENT "${environment}" TIMEOUT ${python_timeout} FAIL_REGULAR_EXPRESSION "Ran 0 tests")
  endforeach()
endforeach()
# Skipped without Node.js or npm's registry.
set_tests_properties(mcp_client.test_with_node PROPERTIES SKIP_REGULAR_EXPRESSION "OK \\(skipped=1\\)")

add_test(NAME mcp_responses.exports
  COMMAND "${CMAKE_COMMAND}" -D EXTENSION=$<TARGET_FILE:mcp_responses_extension>
    -D NM=${CMAKE_NM} -D READELF=${CMAKE_READELF} -P "${PROJECT_SOURCE_DIR}/cmake/check_exports.cmake")
