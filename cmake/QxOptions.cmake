# Build-wide options: warnings as errors, sanitizers, fuzzing.
option(QX_SANITIZE "Build with AddressSanitizer and UndefinedBehaviorSanitizer" OFF)
option(QX_FUZZ "Build libFuzzer targets (needs clang)" OFF)
option(QX_BUILD_UI "Build the Qt 6 windows (ui/)" ON)
# Scripts start qxtest-cli once per call; linked statically it starts in about 2 ms instead of
# about 7 (the dynamic linker's symbol binding of libstdc++), which is more than a small query
# takes. Not with the sanitizers, whose runtimes must be linked dynamically.
option(QX_STATIC_CLI "Link qxtest-cli statically (Linux)" ON)

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
  set(CMAKE_BUILD_TYPE RelWithDebInfo CACHE STRING "" FORCE)
endif()

# Applied to every target of ours through qx_warnings.
add_library(qx_warnings INTERFACE)
target_compile_options(qx_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Wold-style-cast -Wcast-align
  -Woverloaded-virtual -Wnull-dereference -Wimplicit-fallthrough -Werror)
# GCC 12 at -O3 reports -Wrestrict for ordinary std::string concatenation (a literal joined in front
# of a temporary string) from inside libstdc++ (GCC bug 105651, fixed in GCC 13). The warning cannot
# be told apart from a real one there, so it is off for that compiler only. The same holds for
# -Wstringop-overread on the three-way comparison of two std::vector<std::uint8_t> (a map keyed by
# byte strings): the bound it reports comes from a length it cannot see is non-negative.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  target_compile_options(qx_warnings INTERFACE -Wno-restrict -Wno-stringop-overread)
endif()

if(QX_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
  add_link_options(-fsanitize=address,undefined)
endif()

if(QX_FUZZ)
  if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    message(FATAL_ERROR "QX_FUZZ needs clang (-DCMAKE_CXX_COMPILER=clang++)")
  endif()
  add_compile_options(-fsanitize=fuzzer-no-link,address,undefined)
  add_link_options(-fsanitize=address,undefined)
endif()

# qx_add_test(NAME sources... LIBS libs...): one GoogleTest executable registered with CTest.
function(qx_add_test name)
  cmake_parse_arguments(T "" "" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${T_SOURCES})
  target_link_libraries(${name} PRIVATE ${T_LIBS} GTest::gtest_main GTest::gmock qx_warnings)
  target_compile_definitions(${name} PRIVATE QX_SHARED_DIR="${QX_SHARED_DIR}"
                                             QX_SOURCE_DIR="${CMAKE_SOURCE_DIR}")
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 PROPERTIES ENVIRONMENT "QT_QPA_PLATFORM=offscreen")
endfunction()

# qx_add_driver_scripts(PREFIX FOLDER): every FOLDER/*.qxs is a test named PREFIX.<name> that runs
# the script through `qxtest-cli run` on a fresh copy of the fixture installation (prepared by the
# script's "#!" lines, see tests/scripts/run_script.sh) and must print exactly its .expected
# transcript. Call it from any folder; the scripts run once qxtest-cli is defined.
function(qx_add_driver_scripts prefix folder)
  file(GLOB scripts CONFIGURE_DEPENDS "${folder}/*.qxs")
  foreach(script IN LISTS scripts)
    get_filename_component(name "${script}" NAME_WE)
    add_test(NAME ${prefix}.${name}
             COMMAND bash "${CMAKE_SOURCE_DIR}/tests/scripts/run_script.sh"
                     $<TARGET_FILE:qxtest-cli> "${QX_SHARED_DIR}" "${script}")
    # A script that waits on something that never comes must fail, not hang the suite.
    set_tests_properties(${prefix}.${name} PROPERTIES TIMEOUT 60)
  endforeach()
endfunction()
