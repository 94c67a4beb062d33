# Language, warnings and hardening for every target.

if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "" FORCE)
endif()

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(CMAKE_CXX_FLAGS_RELEASE "-O3 -DNDEBUG")

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE_PROGRAM})
endif()

add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Werror)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  add_compile_options(-Wno-restrict) # GCC 12 sees it in "text" + std::string of its own library
endif()

if(CMAKE_UNITY_BUILD)
  add_compile_options(-Wno-shadow) # of one source's names by another's; the other builds tell
endif()

# Hardened by default; the sanitizers bring their own checks and dislike _FORTIFY_SOURCE.
add_compile_options(-fstack-protector-strong -fstack-clash-protection)
include(CheckCXXCompilerFlag)
check_cxx_compiler_flag(-fcf-protection=full HAS_CF_PROTECTION) # x86 only
if(HAS_CF_PROTECTION)
  add_compile_options(-fcf-protection=full)
endif()
add_compile_definitions(_GLIBCXX_ASSERTIONS)
add_link_options(-Wl,-z,relro -Wl,-z,now)
include(CheckPIESupported)
check_pie_supported(LANGUAGES CXX)

if(PLAYER_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=undefined
                      -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
  if(PLAYER_FUZZ)
    add_compile_options(-fsanitize=fuzzer-no-link) # coverage, which guides the fuzzer
  endif()
elseif(NOT CMAKE_BUILD_TYPE STREQUAL "Debug")
  # Debian's compilers may predefine a lower level.
  add_compile_options(-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3)
endif()
