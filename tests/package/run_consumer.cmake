# Installs the built tree into a scratch prefix, then configures, builds and
# runs a small consumer project that finds the package with find_package().
file(REMOVE_RECURSE ${WORK_DIR})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BINARY_DIR} --prefix ${WORK_DIR}/prefix
                RESULT_VARIABLE rc OUTPUT_QUIET)
if(rc)
  message(FATAL_ERROR "install failed: ${rc}")
endif()
# The pkg-config file resolves, and leaves the language standard to the user.
find_program(PKG_CONFIG pkg-config REQUIRED)
file(GLOB pc_dirs ${WORK_DIR}/prefix/lib*/pkgconfig)
set(ENV{PKG_CONFIG_PATH} "${pc_dirs}")
execute_process(COMMAND ${PKG_CONFIG} --cflags --libs velmora
                RESULT_VARIABLE rc OUTPUT_VARIABLE pc_flags ERROR_VARIABLE pc_error)
if(rc)
  message(FATAL_ERROR "pkg-config velmora failed: ${pc_error}")
endif()
if(pc_flags MATCHES "-std=" OR NOT pc_flags MATCHES "-lvelmora")
  message(FATAL_ERROR "unexpected pkg-config flags: ${pc_flags}")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} -S ${SOURCE_DIR}/tests/package/consumer -B ${WORK_DIR}/build
                        -DCMAKE_PREFIX_PATH=${WORK_DIR}/prefix RESULT_VARIABLE rc)
if(rc)
  message(FATAL_ERROR "consumer configure failed: ${rc}")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} --build ${WORK_DIR}/build RESULT_VARIABLE rc)
if(rc)
  message(FATAL_ERROR "consumer build failed: ${rc}")
endif()
execute_process(COMMAND ${WORK_DIR}/build/consumer RESULT_VARIABLE rc OUTPUT_VARIABLE out)
if(rc OR NOT out MATCHES "Long")
  message(FATAL_ERROR "consumer run failed: ${rc} ${out}")
endif()
