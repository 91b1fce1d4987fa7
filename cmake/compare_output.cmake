# cmake -DPROGRAM=... -DARGS="a;b" -DEXPECTED=file -P compare_output.cmake
# Runs a program and fails unless it exits 0 with exactly the expected
# standard output.
execute_process(COMMAND ${PROGRAM} ${ARGS} OUTPUT_VARIABLE output ERROR_VARIABLE errors RESULT_VARIABLE result)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "${PROGRAM} ${ARGS} exited with ${result}:\n${errors}")
endif()
file(READ ${EXPECTED} expected)
if(NOT output STREQUAL expected)
  message(FATAL_ERROR "${PROGRAM} ${ARGS} printed\n${output}\ninstead of (${EXPECTED})\n${expected}")
endif()
