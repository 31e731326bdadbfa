# One .deb for each component. The version is that of packaging/changelog.
set(CRPTSERVICE_MAINTAINER "crptservice maintainers <maintainers@crptservice.example>" CACHE STRING
    "Who answers for the packages: Name <address>")

file(STRINGS changelog newest LIMIT_COUNT 1)
if(NOT newest MATCHES "^crptservice \\(([0-9.]+)-([0-9]+)\\) " OR NOT CMAKE_MATCH_1 VERSION_EQUAL PROJECT_VERSION)
    message(FATAL_ERROR "packaging/changelog begins with \"${newest}\", the project is ${PROJECT_VERSION}: add an entry")
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME crptservice)
set(CPACK_PACKAGE_CONTACT "${CRPTSERVICE_MAINTAINER}")
set(CPACK_DEBIAN_PACKAGE_RELEASE ${CMAKE_MATCH_2})
set(CPACK_DEBIAN_PACKAGE_SOURCE crptservice)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_THREADS 0)

set(CPACK_COMPONENTS_ALL ${components})
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS OFF)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_HOST_PACKAGE_RECOMMENDS ca-certificates)  # for TLS; a shop may have an authority of its own
set(CPACK_DEBIAN_TOOLS_PACKAGE_SUGGESTS "gnuplot-nox, ${package_doc}")  # for the pictures of "poshost story"
set(CPACK_DEBIAN_SDK_PACKAGE_SUGGESTS ${package_doc})
set(CPACK_DEBIAN_CONTRACTS_PACKAGE_SUGGESTS ${package_doc})
set(CPACK_DEBIAN_DOC_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${CMAKE_LIBRARY_OUTPUT_DIRECTORY}")

# debian_package(<component> SECTION <section> SUMMARY <line> TEXT <paragraph> [DEPENDS <own component>...]
#     [OTHERS <Debian package>...])
# No semicolons in the texts: they would be taken for lists.
macro(debian_package component)
    cmake_parse_arguments(arg "" "SECTION;SUMMARY;TEXT" "DEPENDS;OTHERS" ${ARGN})
    string(TOUPPER ${component} name)
    set(CPACK_DEBIAN_${name}_PACKAGE_NAME ${package_${component}})
    set(CPACK_DEBIAN_${name}_PACKAGE_SECTION ${arg_SECTION})
    set(CPACK_DEBIAN_${name}_DESCRIPTION "${arg_SUMMARY}\n${arg_TEXT}")
    set(depends ${arg_OTHERS})
    foreach(other ${arg_DEPENDS})
        list(APPEND depends "${package_${other}} (= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")
    endforeach()
    list(JOIN depends ", " CPACK_DEBIAN_${name}_PACKAGE_DEPENDS)
endmacro()

debian_package(plugin SECTION misc DEPENDS host
    SUMMARY "point-of-sale plug-in that checks marking codes"
    TEXT "Checks the marking codes of goods while the cashier sells or takes them back.
The codes go to the operator's check method, through a list of sites that is
discovered, measured and failed over between. When the operator gives no
verdict, the shop's own local module is asked.
.
A point-of-sale application loads the library, and so does poshost of
crptservice-tools on the console.")
debian_package(tools SECTION utils DEPENDS host plugin
    SUMMARY "console till and test stand for the marking plug-in"
    TEXT "poshost loads the marking plug-in the way a point-of-sale application does
and has it check codes, from the command line.
.
marksim plays the operator, its sites and local modules over HTTP and TLS,
with faults on demand, for tests without a network. A systemd unit and a
Containerfile run it for a team.")
debian_package(host SECTION libs
    SUMMARY "host libraries for point-of-sale plug-ins"
    TEXT "The open stand-in for the libraries of a point-of-sale application that the
marking plug-in and its tools run on: actions, events, tasks, settings, log
and HTTP client.")
debian_package(sdk SECTION libdevel DEPENDS host OTHERS "qt6-base-dev (>= 6.4)"
    SUMMARY "host SDK for point-of-sale plug-ins"
    TEXT "Headers, a CMake package (OrvexHost) and a pkg-config module (orvexhost) to
build plug-ins for a point-of-sale application with.")
debian_package(contracts SECTION libdevel DEPENDS sdk
    SUMMARY "development files of the marking plug-in"
    TEXT "What a host needs that asks for checks of marking codes and reads their
results, or another plug-in that gives them: headers, static libraries, a
CMake package (CrptService), a pkg-config module (crptservice), a sample host
and a sample plug-in.")
debian_package(doc SECTION doc
    SUMMARY "documentation of the marking plug-in and of its host SDK"
    TEXT "Installing and rolling out, every setting and every line of the log, what a
till does in trouble, and the test stand, in English and for the most part in
Russian.
.
For developers: how to write a host or a plug-in, the schemas of what the tools
print, and the reference of the host SDK.")

include(CPack)
