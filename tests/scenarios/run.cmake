# Runs the simulator on one scenario and compares its transcript (standard output and error, then
# the exit status) with the expected one. With -DUPDATE=ON, writes the expected transcript instead.
#   cmake -DSIM=<program> -DSCENARIO=<name.scn> -DDIR=<folder> [-DUPDATE=ON] -P run.cmake
# A scenario <name>.scn with a companion <name>.then.scn runs in two runs of the simulator over
# one state database, as one switch whose agent restarted in between. One with a companion
# <name>.given.json starts from the shared state in it (state that a crash or a hand edit leaves),
# imported into the database by its first run. Every run's clock is pinned to start at
# 2026-01-01T00:00:00Z.
get_filename_component(name "${SCENARIO}" NAME_WE)
set(runs "${name}.scn")
set(state_args "")
set(import_args "")
set(state_file "${name}.state.db")
if(EXISTS "${DIR}/${name}.then.scn")
  list(APPEND runs "${name}.then.scn")
endif()
if(EXISTS "${DIR}/${name}.given.json")
  set(import_args --import "${name}.given.json")
endif()
if(EXISTS "${DIR}/${name}.then.scn" OR import_args)
  set(state_args --state "${state_file}")
endif()
set(state_files "${DIR}/${state_file}" "${DIR}/${state_file}-wal" "${DIR}/${state_file}-shm")
file(REMOVE ${state_files})
set(transcript "")
foreach(run IN LISTS runs)
  # The clock is pinned so that the times of events and high-watermarks repeat.
  execute_process(COMMAND "${CMAKE_COMMAND}" -E env MACSEC_INDEX_SIM_CLOCK=2026-01-01T00:00:00Z
                          "${SIM}" ${state_args} ${import_args} "${run}" WORKING_DIRECTORY "${DIR}"
                  OUTPUT_VARIABLE output ERROR_VARIABLE output RESULT_VARIABLE status)
  string(APPEND transcript "[run ${run}]\n${output}[exit status ${status}]\n")
  set(import_args "")
endforeach()
file(REMOVE ${state_files})
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
