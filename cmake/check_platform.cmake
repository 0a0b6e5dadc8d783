# Stops with a message for a target or a standard library that is not supported.
if(CMAKE_CXX_BYTE_ORDER STREQUAL "BIG_ENDIAN")
  message(FATAL_ERROR "mcp_responses supports little-endian targets only, and ${CMAKE_SYSTEM_PROCESSOR} is big-endian")
endif()

include(CheckCXXSymbolExists)
check_cxx_symbol_exists(_LIBCPP_VERSION version MCP_RESPONSES_LIBCXX)
if(MCP_RESPONSES_LIBCXX AND MCP_RESPONSES_EXTENSION)
  message(FATAL_ERROR "The extension needs libstdc++: it has to recognise the forced unwinding of a thread that the "
    "interpreter ends, and libc++ does not declare it. Build without -stdlib=libc++, "
    "or without the extension: -DMCP_RESPONSES_EXTENSION=OFF")
endif()
