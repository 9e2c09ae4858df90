include("${SOURCE_DIR}/tests/install/run.cmake")

# The environment to test in stays as long as it has what is asked for.
set(requirements "${SOURCE_DIR}/python/requirements-test.txt")
set(full "${WORK_DIR}/venv")
file(READ "${requirements}" wanted)
set(had "")
if(EXISTS "${full}/requirements.txt")
  file(READ "${full}/requirements.txt" had)
endif()
if(NOT wanted STREQUAL had)
  file(REMOVE_RECURSE "${full}")
  run("${PYTHON}" -m venv "${full}")
  run("${full}/bin/pip" install --quiet --no-compile --requirement "${requirements}")
  configure_file("${requirements}" "${full}/requirements.txt" COPYONLY)
endif()

foreach(each prefix wheel bare)
  file(REMOVE_RECURSE "${WORK_DIR}/${each}")
endforeach()
run("${CMAKE_COMMAND}" --install "${BUILD_DIR}" --prefix "${WORK_DIR}/prefix")
run("${full}/bin/pip" wheel --quiet --no-deps --no-build-isolation --wheel-dir "${WORK_DIR}/wheel"
  --config-settings "build-dir=${WORK_DIR}/build"
  --config-settings "cmake.define.UMLAUF_PREBUILT=${WORK_DIR}/prefix"
  --config-settings "cmake.define.UMLAUF_WARNINGS_AS_ERRORS=ON"
  "${SOURCE_DIR}")
file(GLOB wheel "${WORK_DIR}/wheel/umlauf-*.whl")

run("${PYTHON}" -m venv "${WORK_DIR}/bare")
run("${WORK_DIR}/bare/bin/pip" install --quiet "${wheel}")
run("${WORK_DIR}/bare/bin/python" -I "${SOURCE_DIR}/python/tests/bare.py")

run("${full}/bin/pip" install --quiet --no-deps --force-reinstall "${wheel}")
run("${CMAKE_COMMAND}" -E env "UMLAUF_PROGRAM=${PROGRAM}" MPLBACKEND=agg
  "${full}/bin/python" -m pytest --quiet -p no:cacheprovider --rootdir "${SOURCE_DIR}/python/tests"
  --junit-xml "${WORK_DIR}/pytest.xml" "${SOURCE_DIR}/python/tests")
run("${full}/bin/ruff" check --no-cache --config "${SOURCE_DIR}/pyproject.toml" "${SOURCE_DIR}/python")
