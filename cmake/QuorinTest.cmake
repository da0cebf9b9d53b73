# GoogleTest is built here, with the flags of the preset, from the sources that Debian ships.
find_path(QUORIN_GTEST_SOURCE NAMES CMakeLists.txt PATHS /usr/src/googletest NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH REQUIRED)
set(INSTALL_GTEST OFF)
set(BUILD_SHARED_LIBS OFF)  # of GoogleTest: an ordinary variable, so the libraries of this project are not touched
add_subdirectory("${QUORIN_GTEST_SOURCE}" "${CMAKE_BINARY_DIR}/googletest" EXCLUDE_FROM_ALL SYSTEM)
include(GoogleTest)

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
  gtest_discover_tests(${name} TEST_PREFIX "${name}." DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 120
    PROPERTIES TIMEOUT 120 LABELS ${name})
endfunction()
