# The interpreter that the extension is built for and that runs its tests: -DPython_EXECUTABLE=..., else the
# first python3 on PATH. It is asked for its own path, which sees through wrappers such as pyenv's shims.
set(asked python3)
if(Python_EXECUTABLE)
  set(asked "${Python_EXECUTABLE}")
endif()
execute_process(
  COMMAND "${asked}" -c "import sys; print(sys.executable)"
  OUTPUT_VARIABLE executable OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET RESULT_VARIABLE failed)
if(failed)
  message(FATAL_ERROR "${asked} cannot be run; choose an interpreter with -DPython_EXECUTABLE=/path/to/python3.11, "
    "or build without the extension: -DMCP_RESPONSES_EXTENSION=OFF")
endif()
set(Python_EXECUTABLE "${executable}" CACHE FILEPATH "The CPython 3.11 to build for" FORCE)

find_package(Python 3.11...<3.12 QUIET COMPONENTS Interpreter Development.Module)
if(NOT Python_FOUND)
  message(FATAL_ERROR "${Python_EXECUTABLE} is not a CPython 3.11 with its headers (Debian: python3-dev); "
    "choose another with -DPython_EXECUTABLE=/path/to/python3.11, "
    "or build without the extension: -DMCP_RESPONSES_EXTENSION=OFF")
endif()
message(STATUS "Interpreter: ${Python_EXECUTABLE} (${Python_VERSION})")
