# Installation: the library, its public headers, the CMake package, the pkg-config file, and what stands beside it under
# share/lumora. Included after the subsystems, which have filled the list of headers by then.
include(CMakePackageConfigHelpers)

install(TARGETS lmkutils EXPORT lmkutils-targets
  RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}"
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
  ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}")
if(WIN32)
  install(PROGRAMS ${LMK_RUNTIME_DLLS} DESTINATION "${CMAKE_INSTALL_BINDIR}")
endif()

get_property(public_headers GLOBAL PROPERTY LMK_PUBLIC_HEADERS)
list(SORT public_headers)
set(names "")
foreach(header ${public_headers})
  file(RELATIVE_PATH name "${PROJECT_SOURCE_DIR}" "${header}")
  get_filename_component(folder "${name}" DIRECTORY)
  install(FILES "${header}" DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/${folder}")
  string(APPEND names "${name}\n")
endforeach()
# The checks of the headers read this.
file(WRITE "${PROJECT_BINARY_DIR}/public_headers.txt" "${names}")

install(DIRECTORY "${PROJECT_SOURCE_DIR}/share/lumora" DESTINATION "${CMAKE_INSTALL_DATADIR}" OPTIONAL)

set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/lmkutils")
configure_package_config_file("${CMAKE_CURRENT_LIST_DIR}/lmkutils-config.cmake.in"
  "${PROJECT_BINARY_DIR}/lmkutils-config.cmake" INSTALL_DESTINATION "${package_dir}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/lmkutils-config-version.cmake" COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/lmkutils-config.cmake" "${PROJECT_BINARY_DIR}/lmkutils-config-version.cmake"
  DESTINATION "${package_dir}")
install(EXPORT lmkutils-targets NAMESPACE lmkutils:: DESTINATION "${package_dir}")

# The prefix is told relative to the file, so that an installed tree can be moved.
file(RELATIVE_PATH prefix_from_pc "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
configure_file("${CMAKE_CURRENT_LIST_DIR}/lmkutils.pc.in" "${PROJECT_BINARY_DIR}/lmkutils.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/lmkutils.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
