# The compiler options of this project's own sources. Targets link them privately, so users of the library do not get
# them. With -DCMAKE_COMPILE_WARNING_AS_ERROR=ON, as in ./dev check, warnings are errors.
add_library(mcp_responses_flags INTERFACE)

target_compile_options(mcp_responses_flags INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wdouble-promotion
  -Wold-style-cast -Wcast-qual -Wcast-align -Wnon-virtual-dtor -Woverloaded-virtual
  -Wextra-semi -Wformat=2 -Wundef -Wunused
  $<$<CXX_COMPILER_ID:GNU>:-Wlogical-op -Wduplicated-cond -Wduplicated-branches>
  # GCC 12 reports impossible overlaps when std::strings are concatenated.
  $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)

if(MCP_RESPONSES_SANITIZE)
  list(JOIN MCP_RESPONSES_SANITIZE "," sanitizers)
  target_compile_options(mcp_responses_flags INTERFACE
    -fsanitize=${sanitizers} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(mcp_responses_flags INTERFACE -fsanitize=${sanitizers})
endif()
