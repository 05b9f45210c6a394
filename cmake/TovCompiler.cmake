# Warnings, hardening, sanitizers and the compiler cache, for every target.

find_program(TOV_CCACHE ccache)
if(TOV_CCACHE)
  # Paths relative to the checkout, so that several checkouts share one cache.
  set(launcher ${CMAKE_COMMAND} -E env CCACHE_BASEDIR=${CMAKE_SOURCE_DIR} CCACHE_NOHASHDIR=1 ${TOV_CCACHE})
  set(CMAKE_C_COMPILER_LAUNCHER ${launcher})
  set(CMAKE_CXX_COMPILER_LAUNCHER ${launcher})
endif()

add_compile_options(-Wall -Wextra -fstack-protector-strong)
# Libraries with unique symbols are never unloaded, but modules and plug-ins must be.
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
  add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-fno-gnu-unique>)
endif()
add_compile_definitions(QT_NO_CAST_TO_ASCII QT_NO_URL_CAST_FROM_STRING)
# No build ID: it is a hash that includes debug information, so that stripped files would depend on the folder they were built in.
add_link_options(-Wl,--build-id=none)
add_link_options(-Wl,-z,relro,-z,now,-z,noexecstack -Wl,--as-needed)

set(TOV_SANITIZE "" CACHE STRING "Sanitizers to build with, e.g. address,undefined or thread")
if(TOV_SANITIZE)
  add_compile_options(-fsanitize=${TOV_SANITIZE} -fno-omit-frame-pointer -g1)
  add_link_options(-fsanitize=${TOV_SANITIZE})
  # Conversions of floating-point values that do not fit the integer type, which "undefined" does not include.
  if(TOV_SANITIZE MATCHES "undefined")
    add_compile_options(-fsanitize=float-cast-overflow)
  endif()
else()
  add_compile_options($<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=2>)
endif()
# libFuzzer counts branches. Qt is not instrumented, so checks of its classes' types are off.
option(TOV_FUZZ "Build the fuzz targets (clang)" OFF)
if(TOV_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link -fno-sanitize=vptr,function -fno-sanitize-recover=all)
  add_link_options(-fsanitize=fuzzer-no-link)
endif()
include(CheckPIESupported)
check_pie_supported()
