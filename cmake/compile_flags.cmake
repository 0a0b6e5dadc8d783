# How this project compiles its own sources. Linked privately: none of it reaches a user of the library.
# Warnings become errors with -DCMAKE_COMPILE_WARNING_AS_ERROR=ON, as ./dev check does.
add_library(mcp_responses_flags INTERFACE)

target_compile_options(mcp_responses_flags INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wdouble-promotion
  -Wold-style-cast -Wcast-qual -Wcast-align -Wnon-virtual-dtor -Woverloaded-virtual
  -Wextra-semi -Wformat=2 -Wundef -Wunused
  $<$<CXX_COMPILER_ID:GNU>:-Wlogical-op -Wduplicated-cond -Wduplicated-branches>
  # GCC 12 sees overlaps where std::strings are joined that cannot be.
  $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)

if(MCP_RESPONSES_SANITIZE)
  list(JOIN MCP_RESPONSES_SANITIZE "," sanitizers)
  target_compile_options(mcp_responses_flags INTERFACE
    -fsanitize=${sanitizers} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(mcp_responses_flags INTERFACE -fsanitize=${sanitizers})
endif()
