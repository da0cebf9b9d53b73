# GoogleTest is built here, with the flags of the preset, from the sources that Debian ships.
find_path(QUORIN_GTEST_SOURCE NAMES CMakeLists.txt PATHS /usr/src/googletest NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH REQUIRED)
set(INSTALL_GTEST OFF)
set(BUILD_SHARED_LIBS OFF)  # of GoogleTest: an ordinary variable, so the libraries of this project are not touched
add_subdirectory("${QUORIN_GTEST_SOURCE}" "${CMAKE_BINARY_DIR}/googletest" EXCLUDE_FROM_ALL SYSTEM)
include(GoogleTest)

# Starting a process for each of 2,400 tests takes longer than most of them where an emulator or a sanitizer starts too.
option(QUORIN_TESTS_TOGETHER "Run the tests of a program in a few processes instead of one for each" OFF)
set(QUORIN_TEST_PARTS 4)  # of a program: enough for the cores to be busy to the end

# quorin_tests(NAME [PRIVATE_NETWORK] [LIBRARIES ...]): one test program of every .cpp file in the current folder, so
# that a test cannot be forgotten. With PRIVATE_NETWORK each test runs where only a loopback of its own exists: any
# port is free and nothing leaves the machine. QUORIN_TEST_SETUP may name sources that go into each program besides: what
# a platform other than the host's wants done before tests run on it.
function(quorin_tests name)
  cmake_parse_arguments(PARSE_ARGV 1 ARG "PRIVATE_NETWORK" "" "LIBRARIES")
  file(GLOB sources CONFIGURE_DEPENDS "*.cpp")
  add_executable(${name} ${sources} ${QUORIN_TEST_SETUP})
  target_link_libraries(${name} PRIVATE ${ARG_LIBRARIES} quorin-test-support GTest::gmock GTest::gtest_main)
  quorin_target(${name})
  if(TARGET md-platform-modules)
    add_dependencies(${name} md-platform-modules)
  endif()
  if(ARG_PRIVATE_NETWORK)
    set_target_properties(${name} PROPERTIES CROSSCOMPILING_EMULATOR
      "${PROJECT_SOURCE_DIR}/tests/support/with_private_net.sh;${CMAKE_CROSSCOMPILING_EMULATOR}")
  endif()
  if(QUORIN_TESTS_TOGETHER)
    quorin_add_test_parts(${name})
  else()
    gtest_discover_tests(${name} TEST_PREFIX "${name}." DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 120
      PROPERTIES TIMEOUT 120 LABELS ${name})
  endif()
endfunction()

# Parts as GoogleTest makes them: one takes every n-th test, so slow ones that stand together are shared out.
function(quorin_add_test_parts name)
  math(EXPR last "${QUORIN_TEST_PARTS} - 1")
  foreach(part RANGE ${last})
    add_test(NAME ${name}.${part} COMMAND ${name})
    set_tests_properties(${name}.${part} PROPERTIES TIMEOUT 600 LABELS ${name}
      ENVIRONMENT "GTEST_TOTAL_SHARDS=${QUORIN_TEST_PARTS};GTEST_SHARD_INDEX=${part}")
  endforeach()
endfunction()

# quorin_python_tests(LABEL TIMEOUT SECONDS [PRIVATE_NETWORK] [ENVIRONMENT NAME=VALUE...]): one test per test_*.py of the
# current folder, so that a test cannot be forgotten. PRIVATE_NETWORK: as above.
function(quorin_python_tests label)
  cmake_parse_arguments(PARSE_ARGV 1 ARG "PRIVATE_NETWORK" "TIMEOUT" "ENVIRONMENT")
  find_program(QUORIN_PYTHON python3 PATHS /usr/bin NO_DEFAULT_PATH REQUIRED)
  set(network "")
  if(ARG_PRIVATE_NETWORK)
    set(network "${PROJECT_SOURCE_DIR}/tests/support/with_private_net.sh")
  endif()
  file(GLOB files CONFIGURE_DEPENDS "test_*.py")
  foreach(file IN LISTS files)
    cmake_path(GET file STEM name)
    add_test(NAME ${label}.${name} COMMAND ${network}
      "${QUORIN_PYTHON}" -B -m pytest -q -p no:cacheprovider --rootdir "${CMAKE_CURRENT_SOURCE_DIR}" "${file}")
    set_tests_properties(${label}.${name} PROPERTIES TIMEOUT ${ARG_TIMEOUT} LABELS ${label}
      ENVIRONMENT "${ARG_ENVIRONMENT}")
  endforeach()
endfunction()
