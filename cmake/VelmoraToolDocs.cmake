# SPDX-License-Identifier: Apache-2.0
# The manual page and the bash completion of a command-line tool, made by the tool itself from the
# tables that also give its --help (tools/common/cli.hh), and installed with it.
#
#   velmora_tool_docs(<target> <program name>)
function(velmora_tool_docs target name)
  set(_man ${PROJECT_BINARY_DIR}/man/${name}.1)
  set(_completion ${PROJECT_BINARY_DIR}/completions/${name})
  add_custom_command(
    OUTPUT ${_man} ${_completion}
    COMMAND ${CMAKE_COMMAND} -DPROGRAM=$<TARGET_FILE:${target}> -DOPTION=--man -DOUTPUT=${_man}
            -P ${PROJECT_SOURCE_DIR}/cmake/VelmoraRunToFile.cmake
    COMMAND ${CMAKE_COMMAND} -DPROGRAM=$<TARGET_FILE:${target}> -DOPTION=--bash-completion
            -DOUTPUT=${_completion} -P ${PROJECT_SOURCE_DIR}/cmake/VelmoraRunToFile.cmake
    DEPENDS ${target}
    COMMENT "Manual page and bash completion of ${name}"
    VERBATIM)
  add_custom_target(${target}_docs ALL DEPENDS ${_man} ${_completion})
  if(VELMORA_INSTALL)
    install(FILES ${_man} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
    install(FILES ${_completion} DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
  endif()
endfunction()
