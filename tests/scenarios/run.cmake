# Runs the simulator on one scenario and compares its transcript (standard output and error, then
# the exit status) with the expected one. With -DUPDATE=ON, writes the expected transcript instead.
#   cmake -DSIM=<program> -DSCENARIO=<name.scn> -DDIR=<folder> [-DUPDATE=ON] -P run.cmake
get_filename_component(name "${SCENARIO}" NAME_WE)
execute_process(COMMAND "${SIM}" "${name}.scn" WORKING_DIRECTORY "${DIR}"
                OUTPUT_VARIABLE transcript ERROR_VARIABLE transcript RESULT_VARIABLE status)
string(APPEND transcript "[exit status ${status}]\n")
set(expected_file "${DIR}/${name}.out")
if(UPDATE)
  file(WRITE "${expected_file}" "${transcript}")
  return()
endif()
file(READ "${expected_file}" expected)
if(NOT transcript STREQUAL expected)
  set(actual_file "${CMAKE_CURRENT_BINARY_DIR}/${name}.actual")
  file(WRITE "${actual_file}" "${transcript}")
  execute_process(COMMAND diff -u "${expected_file}" "${actual_file}")
  message(FATAL_ERROR "the transcript of ${name}.scn differs from ${name}.out (diff above)")
endif()
