# SPDX-License-Identifier: BSD-3-Clause
# What is installed and moved runs, and serves projects outside of this tree.
include(${CMAKE_CURRENT_LIST_DIR}/Consumers.cmake)
install_and_move(${BUILD})

build_consumer(${SOURCE}/examples/host ${WORK}/host)
run(${WORK}/host/icawave_host ${WORK}/host.icpkg)
build_consumer(${SOURCE}/tests/consumers/find_package ${WORK}/find_package -DQT=${QT})
run(${WORK}/find_package/consumer)
pkg_config_consumer(${COMPILER})

output(version ${MOVED}/bin/icawave --version)
if(NOT version STREQUAL "icawave ${VERSION}")
  message(FATAL_ERROR "--version: ${version}")
endif()
run(${MOVED}/bin/icawave check ${WORK}/host.icpkg)
if(QT)
  run(${WORK}/find_package/consumer_qt)
  run(${MOVED}/bin/icawave_manager ${WORK}/host.icpkg ${WORK}/manager.png)
endif()
foreach(document README.md LICENSE docs/FORMAT.md docs/images/wave-manager.png)
  file(SIZE ${MOVED}/share/doc/icawave/${document} size)
endforeach()
