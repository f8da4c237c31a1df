# Shared by the two MinGW-w64 toolchain files; expects LMK_TRIPLE.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_VERSION 10.0)
# "-posix" picks the winpthreads flavour whatever the alternatives system points at: std::thread needs it.
set(CMAKE_C_COMPILER   ${LMK_TRIPLE}-gcc-posix)
set(CMAKE_CXX_COMPILER ${LMK_TRIPLE}-g++-posix)
set(CMAKE_RC_COMPILER  ${LMK_TRIPLE}-windres)
# gcc-ar/gcc-ranlib so that LTO archives work.
set(CMAKE_AR     ${LMK_TRIPLE}-gcc-ar-posix     CACHE FILEPATH "")
set(CMAKE_RANLIB ${LMK_TRIPLE}-gcc-ranlib-posix CACHE FILEPATH "")

# Where scripts/build-windows-deps.sh puts the dependencies. Handed on to try_compile, which does not see the cache.
foreach(default "$ENV{LMK_DEPS}" "$ENV{XDG_CACHE_HOME}/lmkutils/deps" "$ENV{HOME}/.cache/lmkutils/deps")
  if(NOT LMK_DEPS AND NOT default MATCHES "^/lmkutils/")
    set(LMK_DEPS "${default}")
  endif()
endforeach()
set(LMK_DEPS "${LMK_DEPS}" CACHE PATH "prefix that holds the folders <triple>/ of the dependencies")
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES LMK_DEPS)

list(APPEND CMAKE_FIND_ROOT_PATH "${LMK_DEPS}/${LMK_TRIPLE}" /usr/${LMK_TRIPLE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
# pkg-config must never answer with the build machine's packages.
set(ENV{PKG_CONFIG_LIBDIR} "${LMK_DEPS}/${LMK_TRIPLE}/lib/pkgconfig:/usr/${LMK_TRIPLE}/lib/pkgconfig")
set(ENV{PKG_CONFIG_PATH} "")

find_program(LMK_WINE NAMES wine)
if(LMK_WINE)
  set(CMAKE_CROSSCOMPILING_EMULATOR "${LMK_WINE}")
endif()
