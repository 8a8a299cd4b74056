# The target docs: a reference of the public headers and the pages of docs/, into docs/html of the build folder.
set(missing "")
kip_need(Doxygen doxygen 1.9)
if(missing)
  message(STATUS "Left out: the target docs; missing: ${missing}")
else()
  configure_file(docs/Doxyfile ${PROJECT_BINARY_DIR}/Doxyfile @ONLY)
  add_custom_target(docs COMMAND Doxygen::doxygen ${PROJECT_BINARY_DIR}/Doxyfile
                    WORKING_DIRECTORY ${PROJECT_SOURCE_DIR} VERBATIM)
endif()
