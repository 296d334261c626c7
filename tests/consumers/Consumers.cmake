# SPDX-License-Identifier: BSD-3-Clause
# What the two stories share. An installed icawave is moved to ${WORK}/moved before anything uses it.
set(MOVED ${WORK}/moved)
unset(ENV{LD_LIBRARY_PATH})
set(ENV{QT_QPA_PLATFORM} offscreen)
set(ENV{PKG_CONFIG_PATH} ${MOVED}/${LIBDIR}/pkgconfig)

function(run)
  execute_process(COMMAND ${ARGV} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

function(output variable)
  execute_process(COMMAND ${ARGN} OUTPUT_VARIABLE text OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  set(${variable} "${text}" PARENT_SCOPE)
endfunction()

function(configure source build)
  run(${CMAKE_COMMAND} -S ${source} -B ${build} -G ${GENERATOR} -DCMAKE_CXX_COMPILER=${COMPILER} -DCMAKE_CXX_FLAGS=${FLAGS}
      -DCMAKE_CXX_COMPILER_LAUNCHER=${LAUNCHER} ${ARGN})
endfunction()

function(install_and_move build)
  run(${CMAKE_COMMAND} --install ${build} --prefix ${WORK}/prefix)
  file(RENAME ${WORK}/prefix ${MOVED})
endfunction()

# Builds the project of a consumer against the moved icawave.
function(build_consumer source build)
  configure(${source} ${build} -DCMAKE_PREFIX_PATH=${MOVED} ${ARGN})
  run(${CMAKE_COMMAND} --build ${build})
endfunction()

# Builds and runs a consumer by pkg-config and the linking compiler alone.
function(pkg_config_consumer linker)
  output(compile pkg-config --cflags icawave)
  output(link pkg-config --libs ${ARGN} icawave)
  output(libdir pkg-config --variable=libdir icawave)
  output(version pkg-config --modversion icawave)
  separate_arguments(compile UNIX_COMMAND "${compile} ${FLAGS}")
  separate_arguments(link UNIX_COMMAND "${link} ${FLAGS}")
  run(${COMPILER} -std=c++20 ${compile} -DVERSION="${version}" -c ${SOURCE}/tests/consumers/main.cpp -o ${WORK}/consumer.o)
  run(${linker} ${WORK}/consumer.o -o ${WORK}/consumer ${link} -Wl,-rpath,${libdir})
  run(${WORK}/consumer)
endfunction()
file(REMOVE_RECURSE ${WORK})
