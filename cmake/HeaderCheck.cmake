# Proves that each of the core's headers stands alone: every header is
# compiled in a translation unit of its own, so a header that relies on an
# include made earlier by someone else fails the build.
function(marrowleaf_check_headers target library)
  set(sources "")
  foreach(header ${ARGN})
    string(MAKE_C_IDENTIFIER "${header}" name)
    set(source ${CMAKE_BINARY_DIR}/header_check/${name}.cpp)
    file(CONFIGURE OUTPUT ${source} CONTENT "#include \"${header}\"\n#include \"${header}\"\n")
    list(APPEND sources ${source})
  endforeach()
  add_library(${target} OBJECT ${sources})
  target_link_libraries(${target} PRIVATE ${library})
endfunction()
