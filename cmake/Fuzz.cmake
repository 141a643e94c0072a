# libFuzzer programs of the fuzz targets named in MARROWLEAF_FUZZ_TARGETS:
# fuzz_<Name> from tests/fuzz/<Name>Fuzz.cpp, over copies of the core and the
# fake desktop compiled with the fuzzer's coverage, AddressSanitizer and
# UndefinedBehaviorSanitizer. The target `fuzzers` builds them all; make fuzz
# runs them.
if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  message(FATAL_ERROR "MARROWLEAF_FUZZ needs clang (CC=clang CXX=clang++); this is ${CMAKE_CXX_COMPILER_ID}")
endif()

# Any sanitizer report ends the run, so the fuzzer keeps the input.
set(MARROWLEAF_FUZZ_FLAGS
  -fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)

foreach(library marrowleaf_core marrowleaf_fake)
  get_target_property(sources ${library} SOURCES)
  add_library(${library}_fuzz STATIC EXCLUDE_FROM_ALL ${sources})
  target_include_directories(${library}_fuzz PUBLIC $<TARGET_PROPERTY:${library},INCLUDE_DIRECTORIES>)
  target_compile_definitions(${library}_fuzz PRIVATE $<TARGET_PROPERTY:${library},COMPILE_DEFINITIONS>)
  target_compile_options(${library}_fuzz PRIVATE ${MARROWLEAF_FUZZ_FLAGS})
endforeach()
get_target_property(core_links marrowleaf_core LINK_LIBRARIES)
target_link_libraries(marrowleaf_core_fuzz PUBLIC ${core_links})
target_link_libraries(marrowleaf_fake_fuzz PUBLIC marrowleaf_core_fuzz)

add_custom_target(fuzzers)
foreach(target IN LISTS MARROWLEAF_FUZZ_TARGETS)
  add_executable(fuzz_${target} EXCLUDE_FROM_ALL tests/fuzz/${target}Fuzz.cpp)
  target_include_directories(fuzz_${target} PRIVATE tests/fuzz tests/support)
  target_compile_options(fuzz_${target} PRIVATE ${MARROWLEAF_FUZZ_FLAGS})
  target_link_options(fuzz_${target} PRIVATE -fsanitize=fuzzer,address,undefined)
  target_link_libraries(fuzz_${target} PRIVATE marrowleaf_fake_fuzz)
  add_dependencies(fuzzers fuzz_${target})
endforeach()
