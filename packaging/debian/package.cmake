# `cpack` makes a Debian package of what is installed.

set(PARLOVANCE_MAINTAINER "The Parlovance authors <parlovance@example.org>" CACHE STRING
  "Who answers for the package; whoever publishes one gives an address that is read")

set(CPACK_GENERATOR DEB)
set(CPACK_SOURCE_GENERATOR "")
set(CPACK_PACKAGE_NAME parlovance)
set(CPACK_PACKAGE_CONTACT ${PARLOVANCE_MAINTAINER})
set(CPACK_STRIP_FILES ON)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/stage.cmake)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE ${PARLOVANCE_HOMEPAGE})
set(CPACK_DEBIAN_PACKAGE_SECTION sound)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
"meeting recorder for the tray of the desktop
Parlovance records what the machine plays, whichever program a meeting runs
in, and the microphone. Both stay aligned for hours, across changes of the
devices, and become one mixed sound file the moment the recording stops.
.
Signed in to its web service you can upload recordings and read their
minutes. The texts on the screen are Chinese.")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The two that the program loads itself, which nobody else finds out.
string(REGEX MATCH "^[0-9]+" AVCODEC_MAJOR ${Libav_libavcodec_VERSION})
string(REGEX MATCH "^[0-9]+" AVFORMAT_MAJOR ${Libav_libavformat_VERSION})
set(CPACK_DEBIAN_PACKAGE_DEPENDS
  "fonts-noto-cjk, fonts-noto-core, fonts-noto-mono, fonts-wqy-microhei, libavcodec${AVCODEC_MAJOR}, libavformat${AVFORMAT_MAJOR}, qt6-translations-l10n")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS
  "default-dbus-session-bus | dbus-session-bus, desktop-file-utils, gnome-keyring | libkf5wallet-bin | keepassxc, pipewire, rtkit, wireplumber, xdg-utils")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "gnome-shell-extension-appindicator, qt6-wayland")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

include(CPack)
