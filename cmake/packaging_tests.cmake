# Tests of the wheel, the installed C++ library and the examples, in Release builds only because that is what users
# get. Their output stays in packaging/ of the build folder until the next run.

file(GLOB test_files CONFIGURE_DEPENDS RELATIVE "${CMAKE_CURRENT_SOURCE_DIR}/packaging"
  "${CMAKE_CURRENT_SOURCE_DIR}/packaging/test_*.py")
foreach(file IN LISTS test_files)
  cmake_path(GET file STEM stem)
  add_test(NAME packaging.${stem}
    COMMAND "${Python_EXECUTABLE}" -m unittest discover
      --start-directory "${CMAKE_CURRENT_SOURCE_DIR}/packaging" --pattern ${file})
  # The slowest tests start first, so that the others run in parallel.
  set_tests_properties(packaging.${stem} PROPERTIES LABELS packaging TIMEOUT 900 COST 1000
    FAIL_REGULAR_EXPRESSION "Ran 0 tests"
    ENVIRONMENT "BUILD_FOLDER=${PROJECT_BINARY_DIR};CXX=${CMAKE_CXX_COMPILER};CMAKE_GENERATOR=${CMAKE_GENERATOR}")
endforeach()
