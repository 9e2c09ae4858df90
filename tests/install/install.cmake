include("${CMAKE_CURRENT_LIST_DIR}/run.cmake")

file(REMOVE_RECURSE "${WORK_DIR}")
run(${CMAKE_COMMAND} --install "${BUILD_DIR}" --prefix "${WORK_DIR}/installed")
set(prefix "${WORK_DIR}/moved")
file(RENAME "${WORK_DIR}/installed" "${prefix}")

if(TOOLS)
  run_program("${prefix}/bin/umlauf" "${WORK_DIR}/recording")
endif()

function(configure_consumer folder)
  execute_process(COMMAND ${CMAKE_COMMAND} -S "${CONSUMER_DIR}" -B "${WORK_DIR}/${folder}" -G Ninja
    "-DCMAKE_PREFIX_PATH=${prefix}" "-DCMAKE_CXX_COMPILER=${CXX}" "-DCMAKE_CXX_FLAGS=${FLAGS}" ${ARGN}
    RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  set(result "${result}" PARENT_SCOPE)
  set(output "${output}" PARENT_SCOPE)
endfunction()

configure_consumer(consumer)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "find_package fails:\n${output}")
endif()
run(${CMAKE_COMMAND} --build "${WORK_DIR}/consumer")
run("${WORK_DIR}/consumer/consumer")

configure_consumer(odd -DCOMPONENTS=gearbox)
if(result EQUAL 0 OR NOT output MATCHES "no component[ \n]+\"gearbox\"")
  message(FATAL_ERROR "find_package does not say that a component is missing:\n${output}")
endif()

find_program(pkg_config pkg-config REQUIRED)
set(ENV{PKG_CONFIG_PATH} "")
file(GLOB_RECURSE pc "${prefix}/*/umlauf.pc")
get_filename_component(pc_folder "${pc}" DIRECTORY)
set(ENV{PKG_CONFIG_LIBDIR} "${pc_folder}")
execute_process(COMMAND "${pkg_config}" --cflags --libs umlauf OUTPUT_VARIABLE arguments COMMAND_ERROR_IS_FATAL ANY)
separate_arguments(arguments UNIX_COMMAND "${arguments}")
separate_arguments(flags UNIX_COMMAND "${FLAGS}")
file(GLOB library "${prefix}/*/libumlauf.so" "${prefix}/lib/*/libumlauf.so")
get_filename_component(library_folder "${library}" DIRECTORY)
run("${CXX}" -std=c++20 ${flags} "${CONSUMER_DIR}/main.cpp" -o "${WORK_DIR}/by-pkg-config" ${arguments}
  "-Wl,-rpath,${library_folder}")
run("${WORK_DIR}/by-pkg-config")
run("${pkg_config}" --atleast-version=0.1 umlauf)
