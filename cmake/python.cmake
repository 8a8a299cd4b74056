# Looks for what the Python package is built with: KIP_PYTHON_FOUND. The first interpreter in PATH that has NumPy is
# taken, else the system's.
foreach(candidate "${Python3_EXECUTABLE}" python3 /usr/bin/python3)
  if(NOT candidate)
    continue()
  endif()
  execute_process(COMMAND ${candidate} -c "import sys, numpy; print(sys.executable)" OUTPUT_VARIABLE KIP_INTERPRETER
                  OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
  if(KIP_INTERPRETER)
    set(Python3_EXECUTABLE ${KIP_INTERPRETER})
    break()
  endif()
endforeach()
find_package(Python3 QUIET COMPONENTS Interpreter Development.Module)
set(KIP_PYTHON_FOUND OFF)
if(KIP_INTERPRETER AND Python3_FOUND AND NOT CMAKE_CROSSCOMPILING AND NOT KIP_SANITIZE)
  find_package(pybind11 2.10 QUIET CONFIG)
  set(KIP_PYTHON_FOUND ${pybind11_FOUND})
endif()
