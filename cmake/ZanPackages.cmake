# Debian packages of what was built: cpack -G DEB, in the build folder after the build. One for each component:
# libzan1 (library), libzan-dev (development), zan (tools), python3-zan (python).
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME zan)
set(CPACK_PACKAGE_VENDOR "the zan project")
set(CPACK_PACKAGE_CONTACT "the zan project <zan@localhost>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)

set(CPACK_COMPONENTS_ALL library development)
if(ZAN_BUILD_CLI)
    list(APPEND CPACK_COMPONENTS_ALL tools)
endif()
if(ZAN_BUILD_PYTHON)
    list(APPEND CPACK_COMPONENTS_ALL python)
endif()

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON) # what the files need is read from them
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/src_lib)

set(libraryPackage libzan${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME ${libraryPackage})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
# For the packages of hosts, and so that the loader finds the library at once.
file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/deb/shlibs @ONLY
    CONTENT "libzan @PROJECT_VERSION_MAJOR@ @libraryPackage@ (>= @PROJECT_VERSION@)\n")
file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/deb/triggers CONTENT "activate-noawait ldconfig\n" @ONLY)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA ${PROJECT_BINARY_DIR}/deb/shlibs ${PROJECT_BINARY_DIR}/deb/triggers)
set(CPACK_COMPONENT_LIBRARY_DESCRIPTION
    "The shared library: meshes from clouds, and clean ones from triangle soups of any condition.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libzan-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${libraryPackage} (= ${PROJECT_VERSION})")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "Headers, the CMake package and the pkg-config file of the library.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME zan)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${libraryPackage} (= ${PROJECT_VERSION})")
set(CPACK_COMPONENT_TOOLS_DESCRIPTION
    "The program zan, which reconstructs, melts, improves, converts and shows meshes and clouds in files.")

# The module holds the library; it is for one version of the interpreter.
if(ZAN_BUILD_PYTHON)
    math(EXPR nextPython "${ZAN_PYTHON_MINOR} + 1")
endif()
set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME python3-zan)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS
    "python3 (>= 3.${ZAN_PYTHON_MINOR}), python3 (<< 3.${nextPython}), python3-numpy")
set(CPACK_COMPONENT_PYTHON_DESCRIPTION "The Python package: numpy arrays in and out.")

foreach(component IN LISTS CPACK_COMPONENTS_ALL)
    string(TOUPPER ${component} COMPONENT)
    install(FILES LICENSE DESTINATION share/doc/${CPACK_DEBIAN_${COMPONENT}_PACKAGE_NAME} RENAME copyright
        COMPONENT ${component})
endforeach()

include(CPack)
