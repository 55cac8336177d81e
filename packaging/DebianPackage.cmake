# scripts/package.sh makes the package.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME tarn-console)
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_PACKAGE_CONTACT "${TARN_PACKAGE_MAINTAINER}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "desktop console for programs in the Tarn language")
set(CPACK_PACKAGE_DESCRIPTION
"TARN Console opens one source file of the Tarn language, runs it, shows what
the program writes and lets the user answer it line by line, close its input
or stop it. Its interface speaks Arabic and English, and every line of output
takes the side of its own language.
.
A small demo interpreter and demo programs are included for trying it; the
Tarn interpreter itself is not.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_VERBATIM_VARIABLES ON)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
if(TARN_IS_PUBLISHED)
    set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "${TARN_HOMEPAGE}")
endif()
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The fonts that the window asks for, and the theme that owns the icon folders. The Qt plugin for X
# comes with the Qt libraries; a Wayland desktop needs one more, or its X server.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "fonts-noto-core, hicolor-icon-theme")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "desktop-file-utils, qt6-wayland")

include(CPack)
