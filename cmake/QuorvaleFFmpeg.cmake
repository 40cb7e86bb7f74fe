# Finds the FFmpeg libraries, version 4.4 (libavformat 58.76, libavcodec 58.134, libavutil 56.70) or later.

find_package(PkgConfig REQUIRED)
pkg_check_modules(QUORVALE_FFMPEG REQUIRED IMPORTED_TARGET GLOBAL
  libavformat>=58.76 libavcodec>=58.134 libavutil>=56.70)
