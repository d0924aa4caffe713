# Examples as sources with a CMakeLists.txt that builds them against the
# installed package, and the Debian package made by `cpack -G DEB`.
file(GLOB ORVEK_EXAMPLE_FILES ${PROJECT_SOURCE_DIR}/examples/*.cpp)
install(FILES ${ORVEK_EXAMPLE_FILES} ${PROJECT_SOURCE_DIR}/examples/CMakeLists.txt
  DESTINATION ${ORVEK_INSTALL_DOCDIR}/examples)

set(CPACK_PACKAGE_NAME orvek)
set(CPACK_PACKAGE_VENDOR "Orvek")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Real-time plots, a tuning dialog, settings files and signal tools for desktop hosts")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "Orvek maintainers <orvek@localhost>")
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libdevel)
# dpkg-shlibdeps (dpkg-dev) reads the Qt, OpenMP and C++ run-time packages
# off the library's own needs.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
include(CPack)
