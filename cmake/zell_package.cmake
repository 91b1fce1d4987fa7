# The libraries are written in C++ but used from C. A C program links with
# the C driver, which does not add the C++ runtime; the static libraries
# must therefore name it themselves, and the shared ones carry it as their
# own dependency.

# The libraries the C++ driver links on top of the C driver's: libstdc++
# and libm with GCC, libc++ with Clang's own runtime. Read from what CMake
# found out about both drivers, so no runtime name is hard-coded.
function(zell_cxx_runtime_libraries out)
  set(runtime ${CMAKE_CXX_IMPLICIT_LINK_LIBRARIES})
  if(CMAKE_C_IMPLICIT_LINK_LIBRARIES)
    list(REMOVE_ITEM runtime ${CMAKE_C_IMPLICIT_LINK_LIBRARIES})
  endif()
  list(REMOVE_DUPLICATES runtime)
  set(${out} ${runtime} PARENT_SCOPE)
endfunction()

# Links the C++ runtime privately: a shared library records it as its own
# dependency, a static one hands it on to whatever links it (in the build
# tree and through the installed CMake package).
function(zell_link_cxx_runtime target)
  zell_cxx_runtime_libraries(runtime)
  target_link_libraries(${target} PRIVATE ${runtime})
endfunction()

# The pkg-config file: the runtime goes to Libs.private, which pkg-config
# adds for --static (a shared library already brings it).
function(zell_write_pkg_config template output)
  zell_cxx_runtime_libraries(runtime)
  set(ZELL_PC_LIBS_PRIVATE "")
  foreach(library ${runtime})
    string(APPEND ZELL_PC_LIBS_PRIVATE " -l${library}")
  endforeach()
  string(STRIP "${ZELL_PC_LIBS_PRIVATE}" ZELL_PC_LIBS_PRIVATE)
  configure_file(${template} ${output} @ONLY)
endfunction()
