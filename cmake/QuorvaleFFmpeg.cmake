# Finds the FFmpeg libraries, version 4.4 (libavformat 58.76, libavcodec 58.134, libavutil 56.70) or later.

find_package(PkgConfig REQUIRED)
pkg_check_modules(QUORVALE_FFMPEG REQUIRED IMPORTED_TARGET GLOBAL
  libavformat>=58.76 libavcodec>=58.134 libavutil>=56.70)
# Its headers demand this of C++ where no other header has declared the constants of <cstdint> before them. All targets here
# have it, since some share precompiled headers.
add_compile_definitions(__STDC_CONSTANT_MACROS)
target_compile_definitions(PkgConfig::QUORVALE_FFMPEG INTERFACE __STDC_CONSTANT_MACROS)
