# Installs the lum component of the build tree into a scratch prefix, then builds and runs
# a small C program twice: with the flags of the installed pkg-config file, and as a CMake
# project that finds the installed package.
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

function(run_check program)
  execute_process(COMMAND ${program} RESULT_VARIABLE rc OUTPUT_VARIABLE out)
  message(STATUS "${program}: ${out}")
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "${program} got wrong results from the installed libraries: ${rc}")
  endif()
endfunction()

separate_arguments(flags UNIX_COMMAND "${flags}")
execute_process(COMMAND ${C_COMPILER} ${SOURCE} ${flags} -o ${WORK_DIR}/check RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "compiling with the pkg-config flags failed")
endif()
set(ENV{LD_LIBRARY_PATH} "${libdir}")
run_check(${WORK_DIR}/check)

file(WRITE ${WORK_DIR}/consumer/CMakeLists.txt "
cmake_minimum_required(VERSION 3.16)
project(lum_consumer C CXX)
find_package(lum 9 REQUIRED)
add_executable(check ${SOURCE})
target_link_libraries(check PRIVATE lum::lumdc)
")
execute_process(COMMAND ${CMAKE_COMMAND} -S ${WORK_DIR}/consumer -B ${WORK_DIR}/consumer/build
                        -DCMAKE_PREFIX_PATH=${WORK_DIR}/prefix -DCMAKE_C_COMPILER=${C_COMPILER}
                RESULT_VARIABLE rc OUTPUT_QUIET)
if(rc EQUAL 0)
  execute_process(COMMAND ${CMAKE_COMMAND} --build ${WORK_DIR}/consumer/build RESULT_VARIABLE rc OUTPUT_QUIET)
endif()
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "a CMake project could not use the installed lum package")
endif()
run_check(${WORK_DIR}/consumer/build/check)
