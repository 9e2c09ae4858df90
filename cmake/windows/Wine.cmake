# What the tests need to run under Wine: folders in which it plays Windows, and programs that were built for this machine,
# which some of them use or compare with.
set(UMLAUF_HOST_BUILD "${PROJECT_SOURCE_DIR}/build/release" CACHE PATH
  "Where the project was built for this machine, with the targets umlauf, pulse_search_time and test_tools")

# One folder for tests without a screen, one for those with one: Wine makes windows only where no program without a
# screen keeps its desktop. Made here, since the first programs of a folder take long.
function(umlauf_wine_folder name)
  set(folder "${PROJECT_BINARY_DIR}/${name}")
  if(EXISTS "${folder}/made")
    return()
  endif()
  file(REMOVE_RECURSE "${folder}")
  message(STATUS "Making ${folder} for Wine")
  execute_process(COMMAND ${CMAKE_COMMAND} -E env "WINEPREFIX=${folder}" WINEDEBUG=-all
      WINEDLLOVERRIDES=mscoree,mshtml,winemenubuilder.exe= ${ARGN} ${CMAKE_CROSSCOMPILING_EMULATOR} wineboot --init
    OUTPUT_QUIET ERROR_VARIABLE messages RESULT_VARIABLE result TIMEOUT 300)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "Wine cannot make ${folder} (${result}): ${messages}")
  endif()
  file(TOUCH "${folder}/made")
endfunction()
umlauf_wine_folder(wine)
umlauf_wine_folder(wine-screen xvfb-run -a)

# umlauf_test_needs_screen(NAME): this test makes windows.
function(umlauf_test_needs_screen name)
  set_tests_properties(${name} PROPERTIES ENVIRONMENT "WINEPREFIX=${PROJECT_BINARY_DIR}/wine-screen")
  set_target_properties(test_${name} PROPERTIES CROSSCOMPILING_EMULATOR "xvfb-run;-a;${CMAKE_CROSSCOMPILING_EMULATOR}")
endfunction()

# The program as a command of this machine.
set(UMLAUF_UNDER_WINE "${PROJECT_BINARY_DIR}/umlauf-under-wine")
file(CONFIGURE OUTPUT "${UMLAUF_UNDER_WINE}" CONTENT
  "#!/bin/sh\nexec ${CMAKE_CROSSCOMPILING_EMULATOR} '${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/umlauf.exe' \"$@\"\n" @ONLY)
file(CHMOD "${UMLAUF_UNDER_WINE}" PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE)
