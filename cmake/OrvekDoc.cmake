# The API reference: `cmake --build <build> --target doc` runs Doxygen over
# the public headers into <build>/docs/html. With ORVEK_DOC_STRICT=ON every
# undocumented public class or function is an error.
find_package(Doxygen QUIET)
if(NOT DOXYGEN_FOUND)
  message(STATUS "Reference (target doc) unavailable: doxygen not found")
  return()
endif()

set(ORVEK_DOC_DIR ${PROJECT_BINARY_DIR}/docs)
list(JOIN ORVEK_PUBLIC_HEADERS " \\\n    " ORVEK_DOC_INPUT)
if(ORVEK_DOC_STRICT)
  set(ORVEK_DOC_EXTRACT_ALL NO)
  set(ORVEK_DOC_STRICT_YESNO YES)
  set(ORVEK_DOC_WARN_AS_ERROR FAIL_ON_WARNINGS)
else()
  set(ORVEK_DOC_EXTRACT_ALL YES)
  set(ORVEK_DOC_STRICT_YESNO NO)
  set(ORVEK_DOC_WARN_AS_ERROR NO)
endif()
configure_file(${PROJECT_SOURCE_DIR}/docs/Doxyfile.in ${ORVEK_DOC_DIR}/Doxyfile @ONLY)

add_custom_command(OUTPUT ${ORVEK_DOC_DIR}/html/index.html
  COMMAND ${CMAKE_COMMAND} -E remove_directory ${ORVEK_DOC_DIR}/html
  COMMAND Doxygen::doxygen ${ORVEK_DOC_DIR}/Doxyfile
  DEPENDS ${ORVEK_PUBLIC_HEADERS} ${PROJECT_SOURCE_DIR}/docs/mainpage.md ${ORVEK_DOC_DIR}/Doxyfile
  WORKING_DIRECTORY ${ORVEK_DOC_DIR}
  COMMENT "Orvek API reference in ${ORVEK_DOC_DIR}/html"
  VERBATIM)
# Named doc in Orvek's own build, orvek_doc inside a parent project.
if(PROJECT_IS_TOP_LEVEL)
  set(ORVEK_DOC_TARGET doc)
else()
  set(ORVEK_DOC_TARGET orvek_doc)
endif()
add_custom_target(${ORVEK_DOC_TARGET} DEPENDS ${ORVEK_DOC_DIR}/html/index.html)

# Installed when it has been built.
install(DIRECTORY ${ORVEK_DOC_DIR}/html/ DESTINATION ${ORVEK_INSTALL_DOCDIR}/reference OPTIONAL)
