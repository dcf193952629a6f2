# Targets of the house: one library per folder, one test program per folder of tests.

# Flags of our own code; third-party headers come by SYSTEM include and stay out of them.
add_library(varnel_flags INTERFACE)
target_compile_options(varnel_flags INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Werror)
# GCC 12 takes moved-from texts for uninitialised ones where it optimises.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  target_compile_options(varnel_flags INTERFACE $<$<CONFIG:Release>:-Wno-maybe-uninitialized>)
endif()
target_include_directories(varnel_flags INTERFACE ${PROJECT_SOURCE_DIR})
if(VARNEL_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
  # How deep a page is nested is told by addresses of variables, which have to stand on the stack itself.
  if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    add_compile_options(-fsanitize-address-use-after-return=never)
  endif()
endif()

# A fuzzer sees its way through the code that it calls, not only through its own.
if(VARNEL_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()

# scripts/build-tuned builds twice in one folder: what "count" notes beside its objects while it runs tells "use", which also
# optimises over the borders of files, what is done often. What the training left out is built as ever.
set(VARNEL_TUNING "" CACHE STRING "\"count\" or \"use\", by scripts/build-tuned")
if(VARNEL_TUNING STREQUAL "count")
  add_compile_options(-fprofile-generate -fprofile-update=atomic)
  add_link_options(-fprofile-generate)
elseif(VARNEL_TUNING STREQUAL "use")
  set(CMAKE_INTERPROCEDURAL_OPTIMIZATION ON)
  add_compile_options(-fprofile-use -fprofile-partial-training -Wno-missing-profile)
endif()

# Sanitized programs are large; this linker takes a third of the time. It doesn't know the objects of g++ that are optimised later.
find_program(VARNEL_LLD ld.lld)
if(VARNEL_LLD AND NOT WIN32 AND NOT VARNEL_TUNING)
  add_link_options(-fuse-ld=lld)
endif()

# Takes no account of what the training noted.
find_program(VARNEL_CCACHE ccache)
if(VARNEL_CCACHE AND NOT VARNEL_TUNING)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${VARNEL_CCACHE})
endif()

# Of these the shared library of components is made, too. Nobody puts other functions in the place of theirs, so that
# calls inside a file stay what they are in a program.
set(VARNEL_SHARED_FOLDERS "varnel_.*" "hostlinux_(base|nls|services|database|provider|dialect|sqlite|postgresql|odbc|web|intrinsics)")

# varnel_library(NAME [DEPENDS target...]): all *.cpp of this folder as the static library NAME.
function(varnel_library name)
  cmake_parse_arguments(ARG "" "" "DEPENDS" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  if(sources)
    add_library(${name} STATIC ${sources})
    target_link_libraries(${name} PUBLIC ${ARG_DEPENDS} PRIVATE varnel_flags)
    target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR})
    foreach(shared ${VARNEL_SHARED_FOLDERS})
      if(NOT WIN32 AND name MATCHES "^${shared}$")
        set_target_properties(${name} PROPERTIES POSITION_INDEPENDENT_CODE ON)
        target_compile_options(${name} PRIVATE -fno-semantic-interposition)
      endif()
    endforeach()
  else()
    add_library(${name} INTERFACE)
    target_link_libraries(${name} INTERFACE ${ARG_DEPENDS})
    target_include_directories(${name} INTERFACE ${PROJECT_SOURCE_DIR})
  endif()
endfunction()

# varnel_test(NAME DEPENDS target...): all *_test.cpp of this folder as one test program.
function(varnel_test name)
  cmake_parse_arguments(ARG "" "" "DEPENDS" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*_test.cpp)
  if(sources)
    add_executable(${name} ${sources})
    target_link_libraries(${name} PRIVATE ${ARG_DEPENDS} GTest::gmock GTest::gtest GTest::gtest_main varnel_flags)
    target_compile_definitions(${name} PRIVATE VARNEL_SOURCE_DIR="${PROJECT_SOURCE_DIR}")
    add_test(NAME ${name} COMMAND ${name} --gtest_brief=1)
  endif()
endfunction()
