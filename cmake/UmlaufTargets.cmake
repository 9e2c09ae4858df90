# What all targets of this project share: warnings, sanitizers, floating-point rules, and the helpers that declare them.

add_library(umlauf_options INTERFACE)
target_compile_options(umlauf_options INTERFACE
  $<$<CXX_COMPILER_ID:GNU,Clang,AppleClang>:-Wall -Wextra -Wpedantic -Wshadow -Wconversion
    # No contraction across stated steps: a product and a sum round separately everywhere.
    -ffp-contract=off
    # Nobody replaces our functions at load time: calls within the library may be inlined.
    -fno-semantic-interposition>
  # GCC 12 takes the short texts of moved wide strings for uninitialised where MinGW's functions are inlined.
  $<$<BOOL:${MINGW}>:-Wno-maybe-uninitialized>)
if(UMLAUF_WARNINGS_AS_ERRORS)
  target_compile_options(umlauf_options INTERFACE $<$<CXX_COMPILER_ID:GNU,Clang,AppleClang>:-Werror>)
endif()
if(UMLAUF_SANITIZE)
  target_compile_options(umlauf_options INTERFACE
    -fsanitize=${UMLAUF_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(umlauf_options INTERFACE -fsanitize=${UMLAUF_SANITIZE})
endif()

# umlauf_layer(NAME [SOURCES ...] [USES layer ...] [LIBRARIES target ...])
#
# Declares this folder as one layer of the library: an object library umlauf_NAME, added to the shared library. USES
# names the layers that it includes, all declared before it, so that includes point downward only; the test `layers`
# compares this list with what the files include. Headers are public unless they lie in internal/ or platform/os/.
function(umlauf_layer name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;USES;LIBRARIES")
  foreach(below IN LISTS arg_USES)
    if(NOT TARGET umlauf_${below})
      message(FATAL_ERROR "Layer ${name} uses ${below}, which is not below it.")
    endif()
  endforeach()
  add_library(umlauf_${name} OBJECT ${arg_SOURCES})
  target_include_directories(umlauf_${name} PUBLIC "${PROJECT_SOURCE_DIR}" "${PROJECT_BINARY_DIR}/generated")
  target_compile_definitions(umlauf_${name} PRIVATE umlauf_EXPORTS)
  target_link_libraries(umlauf_${name} PRIVATE umlauf_options ${arg_LIBRARIES})
  set_property(GLOBAL APPEND PROPERTY UMLAUF_LAYERS umlauf_${name})
  set_property(GLOBAL APPEND PROPERTY UMLAUF_LAYER_LIBRARIES ${arg_LIBRARIES})

  file(RELATIVE_PATH folder "${PROJECT_SOURCE_DIR}" "${CMAKE_CURRENT_SOURCE_DIR}")
  string(JOIN " " uses ${arg_USES})
  set_property(GLOBAL APPEND PROPERTY UMLAUF_LAYER_RECORDS "${name}|${folder}|${uses}")
  if(NOT name STREQUAL "os")
    list(FILTER arg_SOURCES INCLUDE REGEX "\\.h$")
    list(FILTER arg_SOURCES EXCLUDE REGEX "^internal/")
    list(TRANSFORM arg_SOURCES PREPEND "${folder}/")
    set_property(GLOBAL APPEND PROPERTY UMLAUF_PUBLIC_HEADERS ${arg_SOURCES})
  endif()
endfunction()

# umlauf_test(NAME SOURCES ... [LIBRARIES ...]): one GoogleTest program, linked against the shared library as a user does.
function(umlauf_test name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LIBRARIES")
  add_executable(test_${name} ${arg_SOURCES})
  target_include_directories(test_${name} PRIVATE "${PROJECT_SOURCE_DIR}/tests")
  target_link_libraries(test_${name} PRIVATE umlauf umlauf_options GTest::gtest_main GTest::gmock ${arg_LIBRARIES})
  target_compile_definitions(test_${name} PRIVATE UMLAUF_TEST_DATA="${CMAKE_CURRENT_SOURCE_DIR}")
  # What is tested is optimised fully; for Windows, where all is built once more, what tests it need not be.
  target_compile_options(test_${name} PRIVATE $<$<BOOL:${MINGW}>:-O1>)
  add_test(NAME ${name} COMMAND test_${name})
  set_tests_properties(${name} PROPERTIES TIMEOUT 600)
endfunction()

# umlauf_test_left_out(NAME REASON): in place of umlauf_test where a test cannot be: ctest lists it as one that does not
# run, and the reason is printed.
function(umlauf_test_left_out name reason)
  message(STATUS "Test ${name} does not run here: ${reason}")
  add_test(NAME ${name} COMMAND ${CMAKE_COMMAND} -E echo "${reason}")
  set_tests_properties(${name} PROPERTIES DISABLED TRUE)
endfunction()

# umlauf_bench(NAME SOURCES ... [LIBRARIES ...]): one Google Benchmark program.
function(umlauf_bench name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LIBRARIES")
  add_executable(bench_${name} ${arg_SOURCES})
  target_include_directories(bench_${name} PRIVATE "${PROJECT_SOURCE_DIR}/bench")
  target_link_libraries(bench_${name} PRIVATE umlauf umlauf_options benchmark::benchmark_main dispatch_limit ${arg_LIBRARIES})
endfunction()

# umlauf_example(NAME [ARGUMENTS ...]): builds examples/NAME.cpp and runs it as a test.
function(umlauf_example name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "ARGUMENTS")
  add_executable(example_${name} ${name}.cpp)
  target_link_libraries(example_${name} PRIVATE umlauf umlauf_options)
  if(UMLAUF_BUILD_TESTS)
    add_test(NAME example_${name} COMMAND example_${name} ${arg_ARGUMENTS})
  endif()
endfunction()

# umlauf_install_component(NAME EXPORT [CODE ...]): makes an export set the component NAME of the installed package. CODE
# finds what its targets need, with find_dependency.
function(umlauf_install_component name export)
  set(folder "${CMAKE_INSTALL_LIBDIR}/cmake/umlauf")
  install(EXPORT ${export} NAMESPACE umlauf:: DESTINATION "${folder}")
  string(JOIN "\n" code "include(CMakeFindDependencyMacro)" ${ARGN}
    "include(\"\${CMAKE_CURRENT_LIST_DIR}/${export}.cmake\")" "set(umlauf_${name}_FOUND TRUE)")
  file(WRITE "${CMAKE_CURRENT_BINARY_DIR}/umlauf-${name}.cmake" "${code}\n")
  install(FILES "${CMAKE_CURRENT_BINARY_DIR}/umlauf-${name}.cmake" DESTINATION "${folder}")
endfunction()
