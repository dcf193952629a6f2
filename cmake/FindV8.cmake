# Finds V8 10.2 as Debian packages it (libnode-dev 18): installed, or unpacked under build/v8/root by
# scripts/install-v8 where another vendor's Node.js keeps apt from installing it. Gives the target V8::V8.
# Headers and library are taken from one place only: another Node.js may have put its own, newer headers
# into /usr/include/node, so that folder is never looked at.
set(V8_ROOTS ${PROJECT_SOURCE_DIR}/build/v8/root / CACHE STRING "Where libnode may be installed or unpacked")
mark_as_advanced(V8_ROOTS)

unset(V8_LIBRARY)
foreach(root ${V8_ROOTS})
  string(REGEX REPLACE "/$" "" root "${root}")
  set(headers ${root}/usr/include/nodejs/deps/v8/include)
  file(GLOB libraries ${root}/usr/lib/*-linux-gnu/libnode.so.108)
  if(libraries AND EXISTS ${headers}/v8-version.h)
    list(GET libraries 0 V8_LIBRARY)
    set(V8_INCLUDE_DIR ${headers})
    break()
  endif()
endforeach()

if(V8_INCLUDE_DIR)
  file(STRINGS ${V8_INCLUDE_DIR}/v8-version.h numbers REGEX "define V8_(MAJOR|MINOR)_VERSION")
  string(REGEX REPLACE "[^0-9;]*8_[A-Z_]+ ([0-9]+)" "\\1" numbers "${numbers}")
  string(REPLACE ";" "." V8_VERSION "${numbers}")
endif()

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(V8 REQUIRED_VARS V8_LIBRARY V8_INCLUDE_DIR VERSION_VAR V8_VERSION
  REASON_FAILURE_MESSAGE "run scripts/install-v8, or install libnode-dev")

if(V8_FOUND AND NOT TARGET V8::V8)
  # An imported shared library outside the system's folders gets into the RPATH of what is built.
  add_library(V8::V8 SHARED IMPORTED GLOBAL)
  set_target_properties(V8::V8 PROPERTIES
    IMPORTED_LOCATION ${V8_LIBRARY}
    IMPORTED_SONAME libnode.so.108
    INTERFACE_INCLUDE_DIRECTORIES ${V8_INCLUDE_DIR}
    INTERFACE_SYSTEM_INCLUDE_DIRECTORIES ${V8_INCLUDE_DIR})
  # The loader would let libnode use the program's copies of inline library functions (shared_ptr's among
  # them); built with UBSan, those look for type information that libnode's own objects don't have.
  set_property(TARGET V8::V8 APPEND PROPERTY
    INTERFACE_LINK_OPTIONS -Wl,--version-script=${CMAKE_CURRENT_LIST_DIR}/HideSymbols.map)
endif()
