# The standard library's headers, compiled once, for the sanitizer build: parsing them is half of
# what a source costs. The other builds go without, so that every source must name what it uses.
if(PLAYER_SANITIZE AND NOT PLAYER_FUZZ)
  file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/standard_headers.cpp CONTENT "\n")
  add_library(standard_headers OBJECT ${CMAKE_BINARY_DIR}/standard_headers.cpp)
  target_precompile_headers(standard_headers PRIVATE <algorithm> <array> <cstdint> <cstdio>
                            <cstdlib> <cstring> <functional> <memory> <span> <string>
                            <string_view> <vector>)
endif()

# add_module(NAME SOURCES file... LINKS target... [PRIVATE_LINKS target...] [INSTALL])
#
# A static library made of one folder. No header leans on its includer: a source includes its own
# header first (scripts/check_layers holds it to that), and a header without a source is compiled
# alone. INSTALL installs library and headers for other programs.
function(add_module name)
  cmake_parse_arguments(arg "INSTALL" "" "SOURCES;LINKS;PRIVATE_LINKS" ${ARGN})
  add_library(${name} STATIC ${arg_SOURCES})
  target_include_directories(${name} PUBLIC $<BUILD_INTERFACE:${CMAKE_SOURCE_DIR}>)
  target_link_libraries(${name} PUBLIC ${arg_LINKS} PRIVATE ${arg_PRIVATE_LINKS})
  if(TARGET standard_headers)
    target_precompile_headers(${name} REUSE_FROM standard_headers)
  endif()

  file(GLOB headers CONFIGURE_DEPENDS RELATIVE ${CMAKE_SOURCE_DIR}
       ${CMAKE_CURRENT_SOURCE_DIR}/*.h)
  if(PLAYER_TESTS AND NOT PLAYER_SANITIZE AND headers)
    set(units)
    foreach(header IN LISTS headers)
      string(REGEX REPLACE "h$" "cpp" source ${header})
      if(EXISTS ${CMAKE_SOURCE_DIR}/${source})
        continue()
      endif()
      string(MAKE_C_IDENTIFIER ${header} unit)
      set(unit ${CMAKE_CURRENT_BINARY_DIR}/headers/${unit}.cpp)
      file(CONFIGURE OUTPUT ${unit} CONTENT "#include \"${header}\"\n")
      list(APPEND units ${unit})
    endforeach()
    if(units)
      add_library(${name}_headers OBJECT ${units})
      target_link_libraries(${name}_headers PRIVATE ${name} ${arg_PRIVATE_LINKS})
      target_compile_options(${name}_headers PRIVATE -O0 -U_FORTIFY_SOURCE) # nobody runs it
    endif()
  endif()

  if(arg_INSTALL)
    install(TARGETS ${name} ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
    file(RELATIVE_PATH folder ${CMAKE_SOURCE_DIR} ${CMAKE_CURRENT_SOURCE_DIR})
    install(DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR}/
            DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/playertool/${folder}
            FILES_MATCHING PATTERN "*.h")
  endif()
endfunction()

# The headers that every test includes, compiled once. Tests themselves need no optimiser.
set(test_optimisation $<$<CONFIG:Release,RelWithDebInfo>:-O0>)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  set(test_warnings -Wno-subobject-linkage) # it takes tests that are bundled for headers
endif()
if(PLAYER_TESTS)
  file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/test_headers.cpp CONTENT "int main() {}\n")
  add_executable(test_headers ${CMAKE_BINARY_DIR}/test_headers.cpp)
  target_link_libraries(test_headers PRIVATE GTest::gtest)
  target_compile_options(test_headers PRIVATE ${test_optimisation})
  target_precompile_headers(test_headers PRIVATE <gtest/gtest.h> <algorithm> <array> <cstdlib>
                            <filesystem> <fstream> <functional> <map> <memory> <random> <set>
                            <span> <sstream> <string> <thread> <vector>)
endif()

# add_unit_test(NAME SOURCES file... LINKS target... [TIMEOUT seconds])
#
# One test program, known to ctest under its own name. Tests never touch a real display unless
# they start one: the memory display is the default.
function(add_unit_test name)
  cmake_parse_arguments(arg "" "TIMEOUT" "SOURCES;LINKS" ${ARGN})
  if(NOT arg_TIMEOUT)
    set(arg_TIMEOUT 120)
  endif()
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE ${arg_LINKS} GTest::gtest GTest::gtest_main)
  target_compile_options(${name} PRIVATE ${test_optimisation})
  target_precompile_headers(${name} REUSE_FROM test_headers)
  target_compile_options(${name} PRIVATE ${test_warnings})
  # Most of what a test costs the compiler is what it has in common with the others.
  set_target_properties(${name} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 8
                        RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
  add_test(NAME ${name} COMMAND ${name})
  set_tests_properties(${name} PROPERTIES TIMEOUT ${arg_TIMEOUT} ENVIRONMENT
                       "PLAYER_DISPLAY=memory")
endfunction()

# stand_alone(SOURCE...): not bundled with others of its folder, as the sanitizer build and static
# analysis do to be quicker, because it has local names in common with one of them.
function(stand_alone)
  set_source_files_properties(${ARGN} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
endfunction()
