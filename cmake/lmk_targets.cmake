# The targets that the subsystems' folders fill, and the functions with which they do it.
#
#   lmk_objects      the library's portable sources, compiled once
#   lmk_os           the operating-system face of this target
#   lmkutils         the product: a shared library made of both
#   lmk_white_box    what white-box tests link: the portable objects over the fault face
#
# Every folder lists its files explicitly; nothing is globbed.
#
# The product is optimised as a whole (LMK_LTO), so that a call through the seam costs none. The objects hold their
# machine code too: the programs made of them are linked as ever. Not on Windows: the MinGW linker says "symbol from
# plugin: no symbol for section" of an explicitly instantiated template there, and calls to it go to address -1.

find_package(Threads REQUIRED)
if(WIN32)
  set(ZLIB_USE_STATIC_LIBS ON)  # no DLL of another maker beside ours
endif()
find_package(ZLIB REQUIRED)
find_path(LMK_PCRE2_INCLUDE_DIR pcre2.h REQUIRED)
find_library(LMK_PCRE2_LIBRARY pcre2-8 REQUIRED)
if(NOT WIN32)
  # Not the distribution's, which misreads members beyond 4 GiB: built once, outside the tree.
  set(build_deps "${PROJECT_SOURCE_DIR}/scripts/build-windows-deps.sh")
  foreach(default "$ENV{LMK_DEPS}" "$ENV{XDG_CACHE_HOME}/lmkutils/deps" "$ENV{HOME}/.cache/lmkutils/deps")
    if(NOT LMK_DEPS AND NOT default MATCHES "^(/lmkutils/|$)")
      set(LMK_DEPS "${default}")
    endif()
  endforeach()
  set(LMK_DEPS "${LMK_DEPS}" CACHE PATH "prefix that holds the folder linux/ of the dependencies")
  if(NOT EXISTS "${LMK_DEPS}/linux/.stamp")
    message(STATUS "Building minizip: ${build_deps} linux")
    execute_process(COMMAND "${CMAKE_COMMAND}" -E env "LMK_DEPS=${LMK_DEPS}" "${build_deps}" linux)
  endif()
  set(minizip_ROOT "${LMK_DEPS}/linux")
endif()
find_package(minizip CONFIG REQUIRED)
find_path(LMK_UTF8CPP_INCLUDE_DIR utf8.h PATH_SUFFIXES utf8cpp REQUIRED)

if(WIN32)
  set(LMK_OS_FACE win32)
else()
  set(LMK_OS_FACE posix)
endif()

set(LMK_USE_LTO OFF)
if(LMK_LTO AND NOT WIN32 AND NOT LMK_SANITIZE AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  set(LMK_USE_LTO ON)
endif()

add_library(lmk_pcre2 INTERFACE)
target_include_directories(lmk_pcre2 SYSTEM INTERFACE "${LMK_PCRE2_INCLUDE_DIR}")
target_link_libraries(lmk_pcre2 INTERFACE "${LMK_PCRE2_LIBRARY}")
if(WIN32)
  target_compile_definitions(lmk_pcre2 INTERFACE PCRE2_STATIC)
endif()

set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/bin")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/bin")
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/lib")

# Language level, warnings and sanitizers for a target of ours; never handed on to consumers.
function(lmk_settings target)
  target_compile_features(${target} PRIVATE cxx_std_20)
  set_target_properties(${target} PROPERTIES
    CXX_EXTENSIONS OFF
    POSITION_INDEPENDENT_CODE ON
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON)
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Wold-style-cast -Wnon-virtual-dtor -Wundef
    $<$<BOOL:${LMK_WARNINGS_AS_ERRORS}>:-Werror>)
  if(LMK_SANITIZE)
    target_compile_options(${target} PRIVATE -fsanitize=${LMK_SANITIZE} -fno-omit-frame-pointer -O1)
    if(LMK_SANITIZE MATCHES "undefined")
      target_compile_options(${target} PRIVATE -fno-sanitize-recover=undefined)
    endif()
    target_link_options(${target} PRIVATE -fsanitize=${LMK_SANITIZE})
  endif()
  if(LMK_USE_LTO)
    target_link_options(${target} PRIVATE $<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>:-fno-lto>)
  endif()
  target_include_directories(${target} PRIVATE
    "${PROJECT_SOURCE_DIR}" "${PROJECT_SOURCE_DIR}/lmkutils/os/${LMK_OS_FACE}/inline")
  target_include_directories(${target} SYSTEM PRIVATE "${LMK_UTF8CPP_INCLUDE_DIR}")
  if(WIN32)
    target_compile_definitions(${target} PRIVATE UNICODE _UNICODE WIN32_LEAN_AND_MEAN NOMINMAX _WIN32_WINNT=0x0601)
    if(CMAKE_SYSTEM_PROCESSOR STREQUAL "i686")
      # Doubles agree with the other targets, and functions with aligned locals realign the stack.
      target_compile_options(${target} PRIVATE -march=pentium4 -msse2 -mfpmath=sse)
    endif()
  endif()
endfunction()

add_library(lmk_objects OBJECT)
add_library(lmk_os OBJECT)
# The fault face: the real functions under another name, and in front of them those that can be told to fail.
add_library(lmk_os_fault OBJECT)
foreach(target lmk_objects lmk_os lmk_os_fault)
  lmk_settings(${target})
endforeach()
target_compile_definitions(lmk_objects PRIVATE LMK_BUILDING)
target_link_libraries(lmk_objects PRIVATE ZLIB::ZLIB lmk_pcre2 minizip::minizip)

add_library(lmkutils SHARED $<TARGET_OBJECTS:lmk_objects> $<TARGET_OBJECTS:lmk_os>)
add_library(lmkutils::lmkutils ALIAS lmkutils)
lmk_settings(lmkutils)
set_target_properties(lmkutils PROPERTIES
  LINKER_LANGUAGE CXX
  VERSION ${PROJECT_VERSION}
  SOVERSION ${PROJECT_VERSION_MAJOR}
  EXPORT_NAME lmkutils)
if(LMK_USE_LTO)
  target_compile_options(lmk_objects PRIVATE -flto -ffat-lto-objects)
  target_compile_options(lmk_os PRIVATE -flto -ffat-lto-objects)
  target_link_options(lmkutils PRIVATE -flto=auto)
endif()
target_compile_features(lmkutils INTERFACE cxx_std_20)
target_include_directories(lmkutils INTERFACE
  $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}> $<INSTALL_INTERFACE:include>)
target_link_libraries(lmkutils PRIVATE Threads::Threads)
if(NOT WIN32)
  # The library calls its own functions directly, not through the table by which a program could replace them; so the
  # compiler may also build them in. Its few thread-local variables are found without a call.
  foreach(target lmk_objects lmk_os)
    target_compile_options(${target} PRIVATE -fno-semantic-interposition -fno-plt -ftls-model=initial-exec)
  endforeach()
  target_link_options(lmkutils PRIVATE LINKER:--no-undefined LINKER:-Bsymbolic-functions LINKER:-z,nodelete)
endif()

# lmk_add_files(SOURCES ... HEADERS ... INTERNAL_HEADERS ...): files of the calling folder for the library.
# HEADERS are public and installed; INTERNAL_HEADERS are not.
function(lmk_add_files)
  cmake_parse_arguments(arg "" "" "SOURCES;HEADERS;INTERNAL_HEADERS" ${ARGN})
  list(TRANSFORM arg_SOURCES PREPEND "${CMAKE_CURRENT_SOURCE_DIR}/")
  list(TRANSFORM arg_HEADERS PREPEND "${CMAKE_CURRENT_SOURCE_DIR}/")
  list(TRANSFORM arg_INTERNAL_HEADERS PREPEND "${CMAKE_CURRENT_SOURCE_DIR}/")
  target_sources(lmk_objects PRIVATE ${arg_SOURCES} ${arg_HEADERS} ${arg_INTERNAL_HEADERS})
  set_property(GLOBAL APPEND PROPERTY LMK_PUBLIC_HEADERS ${arg_HEADERS})
endfunction()

# lmk_add_os_services(NAME...): services of the seam; each is os/NAME.h and os/<face>/NAME.cpp.
# lmk_add_os_services(FAULTABLE NAME...): the same, with os/fault/NAME.cpp in front of it in the fault face:
# there the real functions are compiled under the names that os/fault/rename.h gives them.
function(lmk_add_os_services)
  cmake_parse_arguments(arg "FAULTABLE" "" "" ${ARGN})
  set(os_dir "${PROJECT_SOURCE_DIR}/lmkutils/os")
  foreach(name ${arg_UNPARSED_ARGUMENTS})
    set(real "${os_dir}/${LMK_OS_FACE}/${name}.cpp")
    target_sources(lmk_os PRIVATE "${real}")
    if(arg_FAULTABLE)
      set(renamed "${PROJECT_BINARY_DIR}/fault/real_${name}.cpp")
      file(CONFIGURE OUTPUT "${renamed}" @ONLY CONTENT
        "#define LMK_REAL_${name}\n#include \"lmkutils/os/fault/rename.h\"\n// then the real face\n#include \"lmkutils/os/${LMK_OS_FACE}/${name}.cpp\"\n")
      target_sources(lmk_os_fault PRIVATE "${renamed}" "${os_dir}/fault/${name}.cpp")
    else()
      target_sources(lmk_os_fault PRIVATE "${real}")
    endif()
  endforeach()
endfunction()

if(LMK_BUILD_TESTS)
  enable_testing()
  find_package(GTest CONFIG REQUIRED)
  include(GoogleTest)
endif()

function(lmk_discover target)
  gtest_discover_tests(${target}
    DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 120
    TEST_PREFIX "${target}." PROPERTIES TIMEOUT 120 ${ARGN})
endfunction()

# lmk_add_tests(NAME [SERIAL] SOURCES... [LIBRARIES ...]): a white-box test program over the objects and the fault
# face; SERIAL when its tests change what every process on the machine sees.
function(lmk_add_tests name)
  if(NOT LMK_BUILD_TESTS)
    return()
  endif()
  cmake_parse_arguments(arg "SERIAL" "" "SOURCES;LIBRARIES" ${ARGN})
  add_executable(${name} ${arg_SOURCES} $<TARGET_OBJECTS:lmk_objects> $<TARGET_OBJECTS:lmk_os_fault>)
  lmk_settings(${name})
  target_compile_definitions(${name} PRIVATE LMK_STATIC)
  target_link_libraries(${name} PRIVATE lmk_testing ${arg_LIBRARIES} GTest::gmock Threads::Threads
    $<TARGET_PROPERTY:lmkutils,LMK_SYSTEM_LIBRARIES>)
  if(arg_SERIAL)
    lmk_discover(${name} RUN_SERIAL TRUE)
  else()
    lmk_discover(${name})
  endif()
endfunction()

# lmk_add_black_box_tests(NAME SOURCES...): a test program over the shared library, as any caller links it.
function(lmk_add_black_box_tests name)
  if(NOT LMK_BUILD_TESTS)
    return()
  endif()
  cmake_parse_arguments(arg "" "" "SOURCES;LIBRARIES" ${ARGN})
  add_executable(${name} ${arg_SOURCES})
  lmk_settings(${name})
  target_link_libraries(${name} PRIVATE lmkutils::lmkutils lmk_testing ${arg_LIBRARIES} GTest::gmock Threads::Threads)
  lmk_discover(${name})
endfunction()

# What the objects need beside the language, for the product and for the white-box tests alike.
set_property(TARGET lmkutils PROPERTY LMK_SYSTEM_LIBRARIES minizip::minizip ZLIB::ZLIB lmk_pcre2)
if(WIN32)
  set_property(TARGET lmkutils PROPERTY LMK_SYSTEM_LIBRARIES minizip::minizip ZLIB::ZLIB lmk_pcre2 user32 shell32)
  include(lmk_windows)
  target_sources(lmkutils PRIVATE "${PROJECT_BINARY_DIR}/lmkutils.rc")
endif()
target_link_libraries(lmkutils PRIVATE $<TARGET_PROPERTY:lmkutils,LMK_SYSTEM_LIBRARIES>)
