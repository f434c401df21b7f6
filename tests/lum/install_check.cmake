# Installs the lum component of the build tree into a scratch prefix, then compiles and
# runs a small C program with the flags that the installed pkg-config file gives.
file(REMOVE_RECURSE ${WORK_DIR})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${WORK_DIR}/prefix
                        --component lum
                RESULT_VARIABLE rc OUTPUT_QUIET)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "cmake --install failed: ${rc}")
endif()

file(GLOB_RECURSE pc_files ${WORK_DIR}/prefix/*/lum.pc)
if(NOT pc_files)
  message(FATAL_ERROR "lum.pc was not installed")
endif()
list(GET pc_files 0 pc_file)
get_filename_component(pc_dir ${pc_file} DIRECTORY)
set(ENV{PKG_CONFIG_PATH} ${pc_dir})

function(pkg_query out)
  execute_process(COMMAND ${PKG_CONFIG} ${ARGN} lum
                  OUTPUT_VARIABLE value RESULT_VARIABLE rc OUTPUT_STRIP_TRAILING_WHITESPACE)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "pkg-config ${ARGN} lum failed")
  endif()
  set(${out} "${value}" PARENT_SCOPE)
endfunction()
pkg_query(flags --cflags --libs)
pkg_query(libdir --variable=libdir)

separate_arguments(flags UNIX_COMMAND "${flags}")
execute_process(COMMAND ${C_COMPILER} ${SOURCE} ${flags} -o ${WORK_DIR}/check RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "compiling against the installed libraries failed")
endif()
set(ENV{LD_LIBRARY_PATH} "${libdir}")
execute_process(COMMAND ${WORK_DIR}/check RESULT_VARIABLE rc OUTPUT_VARIABLE out)
message(STATUS "${out}")
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "the installed libraries gave wrong results: ${rc}")
endif()
