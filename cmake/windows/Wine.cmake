# What the tests need to run under Wine: programs that were built for this machine, commands, and folders in which Wine plays
# Windows.
set(UMLAUF_HOST_BUILD "${PROJECT_SOURCE_DIR}/build/release" CACHE PATH
  "Where the project was built for this machine, with the targets umlauf, pulse_search_time and test_tools")

# umlauf_write_command(NAME LINE): a command of this machine in the build folder.
function(umlauf_write_command name line)
  file(WRITE "${PROJECT_BINARY_DIR}/${name}" "#!/bin/sh\n${line}\n")
  file(CHMOD "${PROJECT_BINARY_DIR}/${name}" PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE)
endfunction()
find_program(wine "${CMAKE_CROSSCOMPILING_EMULATOR}" NO_CACHE REQUIRED)
umlauf_write_command(umlauf-under-wine
  "exec ${wine} '${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/umlauf.exe' \"$@\"")
# Wine's desktop is lost with the screen, so that nothing may go on after that.
umlauf_write_command(wine-on-a-screen
  "exec xvfb-run -a sh -c '\"$0\" \"$@\"; code=$?; wineserver -k; exit $code' ${CMAKE_CROSSCOMPILING_EMULATOR} \"$@\"")

# What Wine starts of itself may complain, so that it is started before tests that look at all messages.
umlauf_write_command(wine-start "wineserver -p >/dev/null 2>&1; exec ${wine} wineboot >/dev/null 2>&1")

# One folder for tests without a screen, one for those that Wine is started for, one for those with a screen: Wine makes windows only where no program without a
# screen keeps its desktop. Made here, since the first program of a folder takes long.
function(umlauf_wine_folder name)
  set(folder "${PROJECT_BINARY_DIR}/${name}")
  if(EXISTS "${folder}/made")
    return()
  endif()
  file(REMOVE_RECURSE "${folder}")
  message(STATUS "Making ${folder} for Wine")
  execute_process(COMMAND ${CMAKE_COMMAND} -E env "WINEPREFIX=${folder}" WINEDEBUG=-all
      WINEDLLOVERRIDES=mscoree,mshtml,winemenubuilder.exe= ${ARGN} wineboot --init
    OUTPUT_QUIET ERROR_VARIABLE messages RESULT_VARIABLE result TIMEOUT 300)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "Wine cannot make ${folder} (${result}): ${messages}")
  endif()
  file(TOUCH "${folder}/made")
endfunction()
umlauf_wine_folder(wine ${CMAKE_CROSSCOMPILING_EMULATOR})
umlauf_wine_folder(wine-started ${CMAKE_CROSSCOMPILING_EMULATOR})
umlauf_wine_folder(wine-screen "${PROJECT_BINARY_DIR}/wine-on-a-screen")

# umlauf_test_needs_screen(NAME): this test makes windows. Such tests run one after the other.
function(umlauf_test_needs_screen name)
  set_tests_properties(${name} PROPERTIES RESOURCE_LOCK screen ENVIRONMENT "WINEPREFIX=${PROJECT_BINARY_DIR}/wine-screen")
  set_target_properties(test_${name} PROPERTIES CROSSCOMPILING_EMULATOR "${PROJECT_BINARY_DIR}/wine-on-a-screen")
endfunction()
