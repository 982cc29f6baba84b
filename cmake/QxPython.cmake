# Finds Python with NumPy and pybind11, from a directory that uses them: pybind11_FOUND, Python_EXECUTABLE.
macro(qx_find_python)
  # The system's Python has the system's NumPy; another one may come first on the path.
  if(NOT DEFINED Python_EXECUTABLE AND EXISTS /usr/bin/python3)
    set(Python_EXECUTABLE /usr/bin/python3)
  endif()
  find_package(Python QUIET COMPONENTS Interpreter Development NumPy)
  if(Python_FOUND)
    find_package(pybind11 CONFIG QUIET)
  endif()
endmacro()

# Whether the Python module is built: natively, uninstrumented, where Python, NumPy and pybind11 are found.
option(QXUTILS_PYTHON "Build the Python module where its packages are found" ${PROJECT_IS_TOP_LEVEL})
if(NOT QXUTILS_PYTHON OR CMAKE_CROSSCOMPILING OR WIN32 OR QXUTILS_SANITIZE OR QXUTILS_COVERAGE)
  set(QXUTILS_PYTHON_FOUND FALSE)
  set(QXUTILS_PYTHON_POSSIBLE FALSE)
  return()
endif()

set(QXUTILS_PYTHON_POSSIBLE TRUE)
qx_find_python()
set(QXUTILS_PYTHON_FOUND ${pybind11_FOUND})
if(NOT QXUTILS_PYTHON_FOUND)
  message(STATUS "Python, NumPy or pybind11 is missing: no Python module")
endif()
