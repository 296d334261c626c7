# SPDX-License-Identifier: BSD-3-Clause
include(CMakeDependentOption)

if(PROJECT_IS_TOP_LEVEL)
  option(BUILD_SHARED_LIBS "Build dynamic libraries" ON) # else as the surrounding project decides
  set(with_qt AUTO)
else()
  set(with_qt OFF)
endif()
option(ICAWAVE_CLI "Build the command line and the example host" ${PROJECT_IS_TOP_LEVEL})
set(ICAWAVE_QT ${with_qt} CACHE STRING "Build the Qt front end and the wave manager: ON, OFF, or AUTO where Qt 6.4 is found")
set_property(CACHE ICAWAVE_QT PROPERTY STRINGS AUTO ON OFF)
cmake_dependent_option(ICAWAVE_TESTS "Build the tests" ${PROJECT_IS_TOP_LEVEL} ICAWAVE_CLI OFF)
option(ICAWAVE_SANITIZE "Build with the address and undefined-behaviour sanitizers" OFF)
option(ICAWAVE_FUZZ "Build the fuzz targets for libFuzzer, with the sanitizers" OFF)
cmake_dependent_option(ICAWAVE_BENCH "Build the benchmarks" OFF ICAWAVE_CLI OFF)
option(ICAWAVE_BASELINE "Choose no wider registers for passes than the architecture's baseline has" OFF)
option(ICAWAVE_WERROR "Treat warnings as errors" OFF)

# What every target of the project is compiled with, and no target that uses the project.
add_library(icawave_strict INTERFACE)
target_compile_options(icawave_strict INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wno-sign-conversion -Wnon-virtual-dtor
                                                $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict> # false alarms of GCC 12 in std::string
                                                $<$<BOOL:${ICAWAVE_WERROR}>:-Werror>)
if(ICAWAVE_FUZZ)
  set(ICAWAVE_SANITIZE ON)
  add_compile_options(-fsanitize=fuzzer-no-link)
  add_compile_definitions(FUZZING_BUILD_MODE_UNSAFE_FOR_PRODUCTION)
endif()
if(ICAWAVE_SANITIZE)
  # For everything, since a sanitized library needs a sanitized program.
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
endif()
