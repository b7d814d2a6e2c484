# Debian packages of the two components. `./dev package` makes them.

file(STRINGS debian/changelog newest LIMIT_COUNT 1)
string(REGEX REPLACE ".*\\((.*)\\).*" "\\1" CPACK_PACKAGE_VERSION ${newest})
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS debian/changelog)
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME diagnostic-file-service)
set(CPACK_PACKAGE_CONTACT "Diagnostics <diagnostics@vantor.example>")
set(CPACK_PACKAGE_DIRECTORY ${CMAKE_BINARY_DIR}/packages)
set(CPACK_PACKAGING_INSTALL_PREFIX /)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL service)
if(TARGET vcli)
    list(APPEND CPACK_COMPONENTS_ALL devkit)
endif()

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)

set(CPACK_DEBIAN_SERVICE_PACKAGE_NAME diagnostic-file-service)
set(CPACK_DEBIAN_SERVICE_PACKAGE_SECTION admin)
set(CPACK_DEBIAN_SERVICE_DESCRIPTION "collects, seals and uploads diagnostic files
On request this service collects diagnostic material of an embedded audio
product, encrypts and compresses each item, packs one archive and sends it to
the product's cloud.
The certificate for which items are encrypted, and the manufacturing data, are
the product's, and in no package.")
# What the scripts print reports with. Each has an alternative of BusyBox, or a line in its place.
set(CPACK_DEBIAN_SERVICE_PACKAGE_RECOMMENDS "iproute2, procps, sysstat")
set(CPACK_DEBIAN_SERVICE_PACKAGE_SUGGESTS "iw")
set(service ${CMAKE_CURRENT_SOURCE_DIR}/debian/service)
set(CPACK_DEBIAN_SERVICE_PACKAGE_CONTROL_EXTRA
    ${service}/conffiles ${service}/postinst ${service}/prerm ${service}/postrm)

set(CPACK_DEBIAN_DEVKIT_PACKAGE_NAME diagnostic-file-service-devkit)
set(CPACK_DEBIAN_DEVKIT_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_DEVKIT_PACKAGE_SUGGESTS "bash-completion, diagnostic-file-service")
set(CPACK_DEBIAN_DEVKIT_DESCRIPTION "tools for the diagnostic-file service
The service's command line, the tool that opens what a device has uploaded,
and stand-ins for the cloud, for the local API gateway and for another
service.")

if(CMAKE_CROSSCOMPILING)
    # dpkg-shlibdeps knows the packages of this machine only.
    set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE armhf)
    set(CPACK_PROJECT_CONFIG_FILE ${CMAKE_SOURCE_DIR}/packaging/TargetDepends.cmake)
    set(CPACK_TARGET_SYSROOT ${CMAKE_SYSROOT})
    set(CPACK_TARGET_READELF ${CMAKE_READELF})
    set(CPACK_TARGET_PROGRAMS ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
else()
    set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
endif()
include(CPack)
