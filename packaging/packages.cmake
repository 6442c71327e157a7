# The Debian packages, one a component. scripts/package.sh builds them.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME qbsettings)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "The qbsettings developers <qbsettings@localhost>")
set(CPACK_COMPONENTS_ALL library development program)
set(CPACK_COMPONENTS_GROUPING ONE_PER_GROUP)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ
                                                GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_SOURCE_DIR}/debian-tidy.cmake)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/settings/src/settingscore
                                                ${PROJECT_BINARY_DIR}/settings/src/qbhost)
set(library_version "(= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME libqbsettingscore1)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SHLIBDEPS ON)
set(CPACK_COMPONENT_LIBRARY_DESCRIPTION
    "store of the settings of products
Products declare typed settings in files, with ranges, choices and defaults;
users change them. This is the library, and the stand-in for a host that
programs use it without.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libqbsettingscore-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
    "libqbsettingscore1 ${library_version}, libboost-dev (>= 1.74), libboost-chrono-dev (>= 1.74), libboost-thread-dev (>= 1.74)"
)
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
    "store of the settings of products, development files
Headers and samples, and what CMake and pkg-config need to find the library.")

set(CPACK_DEBIAN_PROGRAM_PACKAGE_NAME qbsettings)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_DEPENDS "libqbsettingscore1 ${library_version}")
set(CPACK_COMPONENT_PROGRAM_DESCRIPTION
    "reads and changes the settings of products
The program of the settings store, for the command line and for scripts, with
its manual, completion for bash and zsh, and example products.")

# What every package says of itself; compressed when it is made.
configure_file(debian-changelog.in debian-changelog @ONLY)
foreach(component LIBRARY DEVELOPMENT PROGRAM)
  string(TOLOWER ${component} lower)
  set(doc ${CMAKE_INSTALL_DATADIR}/doc/${CPACK_DEBIAN_${component}_PACKAGE_NAME})
  install(FILES copyright DESTINATION ${doc} COMPONENT ${lower})
  install(FILES ${PROJECT_SOURCE_DIR}/CHANGELOG.md RENAME changelog DESTINATION ${doc}
          COMPONENT ${lower})
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/debian-changelog RENAME changelog.Debian
          DESTINATION ${doc} COMPONENT ${lower})
endforeach()

include(CPack)
