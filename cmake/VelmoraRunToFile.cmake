# SPDX-License-Identifier: Apache-2.0
# cmake -DPROGRAM=<exe> -DOPTION=<option> -DOUTPUT=<file> -P VelmoraRunToFile.cmake
# Runs `<exe> <option>` and writes what it prints to <file>; fails when the program fails.
# Leak checking is off: a report must not end up in the file.
set(ENV{ASAN_OPTIONS} "detect_leaks=0")
get_filename_component(_dir ${OUTPUT} DIRECTORY)
file(MAKE_DIRECTORY ${_dir})
execute_process(COMMAND ${PROGRAM} ${OPTION} OUTPUT_FILE ${OUTPUT} RESULT_VARIABLE _status)
if(NOT _status EQUAL 0)
  file(REMOVE ${OUTPUT})
  message(FATAL_ERROR "${PROGRAM} ${OPTION} failed (${_status})")
endif()
