# The library for C++ projects: one archive of both layers, their headers in one folder, and the files of find_package
# and pkg-config.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

add_library(mcp_responses STATIC
  $<TARGET_OBJECTS:mcp_responses_core> $<TARGET_OBJECTS:mcp_responses_responses>)
add_library(mcp_responses::mcp_responses ALIAS mcp_responses)
set_target_properties(mcp_responses PROPERTIES LINKER_LANGUAGE CXX)
target_compile_features(mcp_responses PUBLIC cxx_std_20)
target_include_directories(mcp_responses INTERFACE
  $<BUILD_INTERFACE:${PROJECT_BINARY_DIR}/include> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)

# An installation has the public headers of both layers in one folder. The build folder has the same layout, as
# symlinks, so that a project that uses add_subdirectory writes the same #include <mcp_responses/...>.
foreach(layer IN ITEMS core responses)
  get_target_property(headers mcp_responses_${layer} HEADER_SET)
  foreach(header IN LISTS headers)
    cmake_path(RELATIVE_PATH header BASE_DIRECTORY "${PROJECT_SOURCE_DIR}/${layer}" OUTPUT_VARIABLE name)
    cmake_path(GET name PARENT_PATH folder)
    file(MAKE_DIRECTORY "${PROJECT_BINARY_DIR}/include/mcp_responses/${folder}")
    file(CREATE_LINK "${header}" "${PROJECT_BINARY_DIR}/include/mcp_responses/${name}" SYMBOLIC)
    if(MCP_RESPONSES_INSTALL)
      install(FILES "${header}" DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/mcp_responses/${folder}" COMPONENT library)
    endif()
  endforeach()
endforeach()
if(NOT MCP_RESPONSES_INSTALL)
  return()
endif()

set(package_folder "${CMAKE_INSTALL_LIBDIR}/cmake/mcp_responses")
set(pkgconfig_folder "${CMAKE_INSTALL_LIBDIR}/pkgconfig")

configure_package_config_file(cmake/mcp_responsesConfig.cmake.in mcp_responsesConfig.cmake
  INSTALL_DESTINATION "${package_folder}")
write_basic_package_version_file(mcp_responsesConfigVersion.cmake COMPATIBILITY SameMajorVersion)
# A path relative to the pkg-config file, so that an installed tree can be moved.
file(RELATIVE_PATH pkgconfig_to_prefix "/${pkgconfig_folder}" "/")
string(REGEX REPLACE "/$" "" pkgconfig_to_prefix "${pkgconfig_to_prefix}")
configure_file(cmake/mcp_responses.pc.in mcp_responses.pc @ONLY)

install(TARGETS mcp_responses EXPORT mcp_responses COMPONENT library)
install(EXPORT mcp_responses FILE mcp_responsesTargets.cmake NAMESPACE mcp_responses::
  DESTINATION "${package_folder}" COMPONENT library)
install(
  FILES "${PROJECT_BINARY_DIR}/mcp_responsesConfig.cmake" "${PROJECT_BINARY_DIR}/mcp_responsesConfigVersion.cmake"
  DESTINATION "${package_folder}" COMPONENT library)
install(FILES "${PROJECT_BINARY_DIR}/mcp_responses.pc" DESTINATION "${pkgconfig_folder}" COMPONENT library)
