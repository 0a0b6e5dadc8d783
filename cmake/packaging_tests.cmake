# The tests of what others pick up: the wheel, the installed C++ library, the examples. Of a Release build alone, which
# is what they pick up. Their work stays in the build folder's packaging/ until they run again.

file(GLOB test_files CONFIGURE_DEPENDS RELATIVE "${CMAKE_CURRENT_SOURCE_DIR}/packaging"
  "${CMAKE_CURRENT_SOURCE_DIR}/packaging/test_*.py")
foreach(file IN LISTS test_files)
  cmake_path(GET file STEM stem)
  add_test(NAME packaging.${stem}
    COMMAND "${Python_EXECUTABLE}" -m unittest discover
      --start-directory "${CMAKE_CURRENT_SOURCE_DIR}/packaging" --pattern ${file})
  # The slowest of all come first, so that the others run beside them.
  set_tests_properties(packaging.${stem} PROPERTIES LABELS packaging TIMEOUT 900 COST 1000
    FAIL_REGULAR_EXPRESSION "Ran 0 tests"
    ENVIRONMENT "BUILD_FOLDER=${PROJECT_BINARY_DIR};CXX=${CMAKE_CXX_COMPILER};CMAKE_GENERATOR=${CMAKE_GENERATOR}")
endforeach()
