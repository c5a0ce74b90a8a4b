# Options and flags that every target of the project shares. Libraries that are used from outside are
# system headers: warnings are errors in our code alone.

option(MDFIXUP_TESTS "Build the tests" ON)
option(MDFIXUP_FUZZ "Build the fuzz targets, with clang" OFF)
set(MDFIXUP_SANITIZE "" CACHE STRING "Sanitizers, as for -fsanitize=")
option(MDFIXUP_COVERAGE "Count which lines run" OFF)
option(MDFIXUP_PRECOMPILE "Compile what most files include only once" OFF)

set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
# Assertions stay in every build: a run that breaks one must not go on to change metadata.
set(CMAKE_CXX_FLAGS_RELEASE "-O2 -g1")

add_library(mdfixup_settings INTERFACE)
target_compile_features(mdfixup_settings INTERFACE cxx_std_17)
target_compile_definitions(mdfixup_settings INTERFACE BOOST_THREAD_ENABLE_THREAD_SAFETY_ANALYSIS)
if(MDFIXUP_SANITIZE)
  target_compile_options(mdfixup_settings INTERFACE -fsanitize=${MDFIXUP_SANITIZE}
                                                    -fno-omit-frame-pointer
                                                    -fno-sanitize-recover=all)
  target_link_options(mdfixup_settings INTERFACE -fsanitize=${MDFIXUP_SANITIZE})
endif()
# What is tested is what is shipped, so every optimised build is hardened, and not the package alone.
# Code in static libraries is compiled as an executable's: nothing else takes them in, and what may
# not be replaced at run time can be inlined. Sanitizers bring checks of their own.
if(NOT MDFIXUP_SANITIZE AND CMAKE_BUILD_TYPE MATCHES "^(Release|RelWithDebInfo|MinSizeRel)$")
  target_compile_options(mdfixup_settings INTERFACE -fPIE -fstack-protector-strong)
  target_compile_definitions(mdfixup_settings INTERFACE _FORTIFY_SOURCE=2)
  target_link_options(mdfixup_settings INTERFACE -pie LINKER:-z,relro LINKER:-z,now
                                                 LINKER:-z,noexecstack)
endif()
if(MDFIXUP_COVERAGE)
  target_compile_options(mdfixup_settings INTERFACE --coverage)
  target_link_options(mdfixup_settings INTERFACE --coverage)
endif()

add_library(mdfixup_warnings INTERFACE)
target_compile_options(mdfixup_warnings INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion
                                                  -Werror)
if(CMAKE_CXX_COMPILER_ID MATCHES Clang)
  target_compile_options(mdfixup_warnings INTERFACE -Wthread-safety)
elseif(MDFIXUP_SANITIZE)
  # gcc takes what the sanitizers add to the standard library for uses of uninitialised values.
  target_compile_options(mdfixup_warnings INTERFACE -Wno-maybe-uninitialized)
endif()
