# `make package`: a Debian package of what `cmake --install` puts under the prefix. Shared
# libraries are found by dpkg-shlibdeps; the QML modules, the platform plugins and the
# media backend are loaded at run time, so they are named here.
include(GNUInstallDirs)
set(PACKAGE_DOCS ${CMAKE_BINARY_DIR}/package-doc)
file(MAKE_DIRECTORY ${PACKAGE_DOCS})
file(WRITE ${PACKAGE_DOCS}/copyright
  "Format: https://www.debian.org/doc/packaging-manuals/copyright-format/1.0/\n"
  "Upstream-Name: Quorvane\n"
  "Source: ${PROJECT_HOMEPAGE_URL}\n\n"
  "Files: *\n"
  "Copyright: 2026 The Quorvane developers\n"
  "License: proprietary\n"
  " All rights reserved.\n")
file(WRITE ${PACKAGE_DOCS}/changelog
  "quorvane (${PROJECT_VERSION}) unstable; urgency=medium\n\n"
  "  * Release ${PROJECT_VERSION}.\n\n"
  " -- The Quorvane developers <maintainers@quorvane.app>  Wed, 25 Nov 2026 12:00:00 +0000\n")
execute_process(COMMAND gzip -9nf ${PACKAGE_DOCS}/changelog RESULT_VARIABLE gzipped)
if(NOT gzipped EQUAL 0)
  message(FATAL_ERROR "gzip could not compress the package changelog")
endif()
install(FILES ${PACKAGE_DOCS}/copyright ${PACKAGE_DOCS}/changelog.gz DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/quorvane)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME quorvane)
set(CPACK_PACKAGE_VENDOR "The Quorvane developers")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGE_DESCRIPTION "Quorvane keeps a subscription business's running revenue in the system tray.
It reads Stripe and PayPal activity, sorts it into new sales, renewals,
cancellations, failed payments and refunds, and opens a small panel with the
totals, a daily chart and the latest activity.")
set(CPACK_PACKAGE_CONTACT "The Quorvane developers <maintainers@quorvane.app>")
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${CPACK_PACKAGE_CONTACT}")
set(CPACK_DEBIAN_PACKAGE_SECTION misc)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "${PROJECT_HOMEPAGE_URL}")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "qml6-module-qtquick, qml6-module-qtquick-controls, qml6-module-qtquick-layouts, \
qml6-module-qtquick-window, qml6-module-qtquick-templates, qml6-module-qtqml-workerscript, qml6-module-qtquick-shapes, \
qt6-qpa-plugins")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "sound-theme-freedesktop, gstreamer1.0-plugins-base, gnome-keyring | kwalletmanager")
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
include(CPack)
