# Finds the interpreter that the extension is built for and that runs its tests: -DPython_EXECUTABLE=..., otherwise
# the first python3 on PATH. A cross build needs an interpreter of the target that starts on this machine: through
# binfmt_misc, or by a script that starts the emulator.
set(candidate python3)
if(Python_EXECUTABLE)
  set(candidate "${Python_EXECUTABLE}")
endif()
set(remedy "choose another with -DPython_EXECUTABLE=/path/to/python3.N, "
  "or build without the extension: -DMCP_RESPONSES_EXTENSION=OFF")
# sys.executable is the interpreter itself where `candidate` is a wrapper such as a shim of pyenv.
execute_process(
  COMMAND "${candidate}" -c "import sys, sysconfig
print(sys.executable, '%d.%d' % sys.version_info[:2], sysconfig.get_config_var('Py_GIL_DISABLED') or 0,
      sysconfig.get_path('include'), sysconfig.get_config_var('SOABI'), sep=';')"
  OUTPUT_VARIABLE properties OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET RESULT_VARIABLE failed)
if(failed)
  message(FATAL_ERROR "${candidate} does not run; " ${remedy})
endif()
list(POP_FRONT properties executable version free_threaded include_folder soabi)
if(version VERSION_LESS 3.11 OR version VERSION_GREATER_EQUAL 3.16)
  message(FATAL_ERROR "${executable} is Python ${version}, but CPython 3.11 to 3.15 is required; " ${remedy})
endif()
if(free_threaded)
  message(FATAL_ERROR "${executable} is a free-threaded build, but the extension needs the GIL; " ${remedy})
endif()
set(Python_EXECUTABLE "${executable}" CACHE FILEPATH "The CPython to build for, 3.11 to 3.15" FORCE)

# FindPython does not run the interpreter of another machine.
if(CMAKE_CROSSCOMPILING)
  set(Python_INCLUDE_DIR "${include_folder}")
endif()
find_package(Python ${version} EXACT QUIET COMPONENTS Interpreter Development.Module)
if(NOT Python_FOUND)
  message(FATAL_ERROR "${executable} is not a CPython with its headers (Debian: python3-dev); " ${remedy})
endif()
set(Python_SOABI "${soabi}")
message(STATUS "Interpreter: ${Python_EXECUTABLE} (${Python_VERSION})")
