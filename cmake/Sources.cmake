# The sources of a target are the files of its folder; a new file needs no line in any list.

# Sets `result` to the C++ sources under `folder`, folders below it included. A build looks again
# by itself.
function(decap_sources result folder)
   file(GLOB_RECURSE found CONFIGURE_DEPENDS ${folder}/*.cpp)
   set(${result} ${found} PARENT_SCOPE)
endfunction()

# A library `name` of `kind` (SHARED or STATIC) out of the remaining arguments. A folder of headers
# alone gives a library that has only usage requirements. `${name}_SCOPE` tells the caller how
# requirements have to be stated for it: PUBLIC, or INTERFACE when there is nothing to compile.
function(decap_library name kind)
   if(ARGN)
      add_library(${name} ${kind} ${ARGN})
      set(${name}_SCOPE PUBLIC PARENT_SCOPE)
   else()
      add_library(${name} INTERFACE)
      set(${name}_SCOPE INTERFACE PARENT_SCOPE)
   endif()
endfunction()
