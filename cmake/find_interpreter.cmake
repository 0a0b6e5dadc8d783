# Finds the interpreter that the extension is built for and that runs its tests: -DPython_EXECUTABLE=..., otherwise
# the first python3 on PATH. A cross build needs an interpreter of the target that starts on this machine: through
# binfmt_misc, or by a script that starts the emulator.
set(candidate python3)
if(Python_EXECUTABLE)
  set(candidate "${Python_EXECUTABLE}")
endif()
# sys.executable is the interpreter itself where `candidate` is a wrapper such as a shim of pyenv.
execute_process(
  COMMAND "${candidate}" -c "import sys, sysconfig
print(sys.executable, sysconfig.get_path('include'), sysconfig.get_config_var('SOABI'), sep=';')"
  OUTPUT_VARIABLE properties OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET RESULT_VARIABLE failed)
if(failed)
  message(FATAL_ERROR "${candidate} does not run; choose an interpreter with -DPython_EXECUTABLE=/path/to/python3.11, "
    "or build without the extension: -DMCP_RESPONSES_EXTENSION=OFF")
endif()
list(GET properties 0 executable)
set(Python_EXECUTABLE "${executable}" CACHE FILEPATH "The CPython 3.11 to build for" FORCE)

# FindPython does not run the interpreter of another machine.
if(CMAKE_CROSSCOMPILING)
  list(GET properties 1 Python_INCLUDE_DIR)
  list(GET properties 2 Python_SOABI)
endif()
find_package(Python 3.11...<3.12 QUIET COMPONENTS Interpreter Development.Module)
if(NOT Python_FOUND)
  message(FATAL_ERROR "${Python_EXECUTABLE} is not a CPython 3.11 with its headers (Debian: python3-dev); "
    "choose another with -DPython_EXECUTABLE=/path/to/python3.11, "
    "or build without the extension: -DMCP_RESPONSES_EXTENSION=OFF")
endif()
message(STATUS "Interpreter: ${Python_EXECUTABLE} (${Python_VERSION})")
