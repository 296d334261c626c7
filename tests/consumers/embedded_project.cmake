# SPDX-License-Identifier: BSD-3-Clause
# The library alone: it needs nothing but a compiler, as a part of another project is all that is built, and works when
# it is linked statically, from that project's tree and from where that project installs it.
set(LIBDIR lib/x86_64-linux-gnu) # as Debian has it
include(${CMAKE_CURRENT_LIST_DIR}/Consumers.cmake)
set(missing)
foreach(package Eigen3 CLI11 PkgConfig ZLIB GTest Qt6)
  list(APPEND missing -DCMAKE_DISABLE_FIND_PACKAGE_${package}=ON)
endforeach()
configure(${SOURCE} ${WORK}/library -DICAWAVE_CLI=OFF -DICAWAVE_QT=OFF -DICAWAVE_TESTS=OFF ${missing})

set(BUILT ${WORK}/add_subdirectory)
configure(${SOURCE}/tests/consumers/add_subdirectory ${BUILT} -DSOURCE=${SOURCE} -DVERSION=${VERSION} -DCMAKE_INSTALL_LIBDIR=${LIBDIR} ${missing})
run(${CMAKE_COMMAND} --build ${BUILT})
run(${BUILT}/consumer)
output(shown nm -D --defined-only ${BUILT}/libplugin.so)
if(shown MATCHES "AfxFindModule|CTrialIcaData")
  message(FATAL_ERROR "the embedded library is visible:\n${shown}")
endif()

install_and_move(${BUILT})
build_consumer(${SOURCE}/tests/consumers/find_package ${WORK}/find_package -DQT=OFF)
run(${WORK}/find_package/consumer)
if(FLAGS)
  pkg_config_consumer(${COMPILER} --static)
else()
  pkg_config_consumer(cc --static) # which knows no library of C++ by itself
endif()
