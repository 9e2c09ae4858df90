# The libraries that programs for Windows need beside them, to be found under Wine, when they are shipped and when they are
# installed: those of the compiler and of the C++ language, and libsndfile.
set(UMLAUF_RUNTIME_LIBRARIES "")
foreach(name libstdc++-6.dll libgcc_s_seh-1.dll)
  execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${name}
    OUTPUT_VARIABLE file OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  list(APPEND UMLAUF_RUNTIME_LIBRARIES "${file}")
endforeach()
find_file(UMLAUF_WINPTHREAD libwinpthread-1.dll PATHS /lib /bin NO_CACHE REQUIRED)
find_file(UMLAUF_SNDFILE libsndfile.dll PATHS /bin NO_CACHE REQUIRED)
list(APPEND UMLAUF_RUNTIME_LIBRARIES "${UMLAUF_WINPTHREAD}" "${UMLAUF_SNDFILE}")
file(COPY ${UMLAUF_RUNTIME_LIBRARIES} DESTINATION "${CMAKE_RUNTIME_OUTPUT_DIRECTORY}")
