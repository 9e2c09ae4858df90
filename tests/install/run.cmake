# run(COMMAND ...): stops with what the command printed when it fails.
function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${ARGN}\nfailed:\n${output}")
  endif()
endfunction()

# run_program(PROGRAM FOLDER): measures a speed with the installed program, without anything of this environment.
function(run_program program folder)
  file(MAKE_DIRECTORY "${folder}")
  set(start env -i)
  if(EMULATOR)
    list(APPEND start "PATH=$ENV{PATH}" "HOME=$ENV{HOME}" "WINEPREFIX=$ENV{WINEPREFIX}" WINEDEBUG=-all
      ${EMULATOR})
  endif()
  run(${start} "${program}" simulate "${folder}/run.wav" --duration 0.5)
  run(${start} "${program}" speed "${folder}/run.wav" --pulses-per-rev 60 --gap auto)
endfunction()
