# SPDX-License-Identifier: Apache-2.0
# What `cmake --install` puts under the prefix (DESTDIR is honoured as usual):
#
#   lib/libvelmora-account.so.<version>, lib/libvelmora-platform.so.<version>  (SONAME .so.<major>)
#   include/velmora-account/     the library's public headers
#   include/velmora-platform/    the platform interfaces and the host platform's own headers, apart
#                                so that their short names (app_control.h, dlog.h ...) collide with
#                                nothing else on the system
#   bin/                         velmora-account, velmora-platform, velmora-agent
#   lib/pkgconfig/               velmora-account.pc, velmora-platform.pc
#   lib/cmake/VelmoraAccount/    find_package(VelmoraAccount): VelmoraAccount::velmora-account,
#                                VelmoraAccount::velmora-platform, VelmoraAccount::velmora-agent
#
# Every path inside the installed files is relative (run paths $ORIGIN, pkg-config ${pcfiledir},
# the CMake package its own directory), so an installed tree still works when moved elsewhere.
include(CMakePackageConfigHelpers)

set(_vinst_cmake_dir ${CMAKE_INSTALL_LIBDIR}/cmake/VelmoraAccount)
set(_vinst_pc_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# Run paths: programs find the libraries relative to bin/, libraries find each other beside them.
file(RELATIVE_PATH _vinst_bin_to_lib ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
set(_vinst_programs velmora-agent velmora-account_tool velmora-platform_tool)
foreach(_t ${_vinst_programs})
  if(TARGET ${_t})
    set_target_properties(${_t} PROPERTIES INSTALL_RPATH "$ORIGIN/${_vinst_bin_to_lib}")
  endif()
endforeach()
set_target_properties(velmora-account velmora-platform PROPERTIES INSTALL_RPATH "$ORIGIN")

install(TARGETS velmora-account velmora-platform velmora-agent
        EXPORT VelmoraAccountTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
foreach(_t velmora-account_tool velmora-platform_tool)
  if(TARGET ${_t})
    install(TARGETS ${_t} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  endif()
endforeach()

# Headers: the public ones (with those generated into the build tree), and the platform's.
file(GLOB _vinst_public ${PROJECT_SOURCE_DIR}/include/*.h ${PROJECT_BINARY_DIR}/include/*.h)
install(FILES ${_vinst_public} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/velmora-account)
file(GLOB _vinst_platform ${PROJECT_SOURCE_DIR}/platform/include/*.h
     ${PROJECT_SOURCE_DIR}/platform/host/include/*.h)
install(FILES ${_vinst_platform} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/velmora-platform)

# The CMake package.
install(EXPORT VelmoraAccountTargets NAMESPACE VelmoraAccount:: DESTINATION ${_vinst_cmake_dir})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/VelmoraAccountConfig.cmake.in
                              ${PROJECT_BINARY_DIR}/VelmoraAccountConfig.cmake
                              INSTALL_DESTINATION ${_vinst_cmake_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/VelmoraAccountConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/VelmoraAccountConfig.cmake
              ${PROJECT_BINARY_DIR}/VelmoraAccountConfigVersion.cmake
        DESTINATION ${_vinst_cmake_dir})

# pkg-config files, relocatable: the prefix is found from the .pc file's own place.
file(RELATIVE_PATH VELMORA_PC_TO_PREFIX ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig
     ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" VELMORA_PC_TO_PREFIX "${VELMORA_PC_TO_PREFIX}")
foreach(_pc velmora-account velmora-platform)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/${_pc}.pc.in ${PROJECT_BINARY_DIR}/${_pc}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${_pc}.pc DESTINATION ${_vinst_pc_dir})
endforeach()
