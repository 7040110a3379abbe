# Fails when a test of the build tree has none of the labels `unit`, `engine`
# and `package`, when an engine test is not labelled `engine`, or when no test
# is labelled `multiprocess`.
function(count_tests out)
  execute_process(COMMAND ${CMAKE_CTEST_COMMAND} --test-dir ${BINARY_DIR} -N ${ARGN}
                  RESULT_VARIABLE rc OUTPUT_VARIABLE listing ERROR_VARIABLE error)
  if(rc OR NOT listing MATCHES "Total Tests: ([0-9]+)")
    message(FATAL_ERROR "ctest -N ${ARGN} failed: ${error}")
  endif()
  set(${out} ${CMAKE_MATCH_1} PARENT_SCOPE)
  set(${out}_listing "${listing}" PARENT_SCOPE)
endfunction()

count_tests(unlabelled -LE "^(unit|engine|package)$")
count_tests(engine_unlabelled -R "/(SQLite|PostgreSQL)" -LE "^engine$")
count_tests(multiprocess -L "^multiprocess$")
if(unlabelled GREATER 0)
  message(FATAL_ERROR "tests without unit, engine or package:\n${unlabelled_listing}")
endif()
if(engine_unlabelled GREATER 0)
  message(FATAL_ERROR "engine tests not labelled engine:\n${engine_unlabelled_listing}")
endif()
if(multiprocess EQUAL 0)
  message(FATAL_ERROR "no test is labelled multiprocess")
endif()
