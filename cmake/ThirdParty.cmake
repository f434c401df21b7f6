# Debian's compression libraries as imported targets: the lum libraries build on some of
# them (suffix sorting) and the tests and tools use them all as references.
#   ref::zlib ref::bz2 ref::lzo2 ref::deflate ref::divsufsort
find_package(ZLIB REQUIRED)
find_package(BZip2 REQUIRED)

function(_perfdc_find_ref target header library)
  find_path(_inc_${library} ${header} PATH_SUFFIXES lzo)
  find_library(_lib_${library} ${library})
  if(NOT _inc_${library} OR NOT _lib_${library})
    message(FATAL_ERROR "${library} not found: install the packages listed in the Makefile (make deps)")
  endif()
  add_library(${target} UNKNOWN IMPORTED GLOBAL)
  set_target_properties(${target} PROPERTIES IMPORTED_LOCATION ${_lib_${library}}
                        INTERFACE_INCLUDE_DIRECTORIES ${_inc_${library}})
endfunction()

add_library(ref::zlib ALIAS ZLIB::ZLIB)
add_library(ref::bz2 ALIAS BZip2::BZip2)
_perfdc_find_ref(ref::lzo2 lzo/lzo1x.h lzo2)
_perfdc_find_ref(ref::deflate libdeflate.h deflate)
_perfdc_find_ref(ref::divsufsort divsufsort.h divsufsort)
