# How every target of the project is compiled.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
   set(CMAKE_BUILD_TYPE Release CACHE STRING "Debug or Release" FORCE)
endif()

# What is not marked as exported can change without anybody outside noticing.
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

# Programs stand in bin/ and libraries in lib/, in the build tree as after an installation, and find
# each other by their relative place: a build tree can be moved or packed up.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib)
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib)
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)
set(CMAKE_INSTALL_RPATH "$ORIGIN:$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")

# Nobody has a warning to look away from. --compile-no-warning-as-error on the command line lifts
# this for a compiler that the project has not met yet.
if(NOT DEFINED CMAKE_COMPILE_WARNING_AS_ERROR)
   set(CMAKE_COMPILE_WARNING_AS_ERROR ON)
endif()
add_compile_options(-Wall -Wextra -Wpedantic -Wconversion -Wshadow)

# An assertion names its source from the top of the tree, so that the same broken invariant reads
# the same wherever the tree was built.
add_compile_options(-fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=)

# Debug builds also check what the standard library is handed. Release builds keep their symbols:
# a report from the field needs them.
add_compile_options($<$<CONFIG:Debug>:-D_GLIBCXX_ASSERTIONS>)
set(CMAKE_CXX_FLAGS_RELEASE "-O2 -g -DNDEBUG")

if(DECAP_SANITIZE)
   # -O1 halves the run time and keeps the stacks of a report readable, -g1 gives them their lines
   # and compiles a third faster than all symbols would.
   add_compile_options(-fsanitize=${DECAP_SANITIZE} -fno-sanitize-recover=all
                       -fno-omit-frame-pointer -O1 -g1)
   add_link_options(-fsanitize=${DECAP_SANITIZE})
endif()

if(DECAP_COVERAGE)
   # Several test programs run at once and add to the same counts.
   add_compile_options(--coverage -fprofile-update=atomic)
   add_link_options(--coverage)
endif()

if(DECAP_FUZZ)
   # Everything tells the fuzzing engine where it has been.
   add_compile_options(-fsanitize=fuzzer-no-link)
endif()

# A library that forgot to name what it uses is found when it is linked, not when it is loaded.
# Clang puts a sanitizer's runtime into the program alone, where libraries find it only later.
if(NOT (DECAP_SANITIZE AND CMAKE_CXX_COMPILER_ID MATCHES Clang))
   add_link_options($<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,SHARED_LIBRARY>:LINKER:--no-undefined>)
endif()

if(NOT CMAKE_CXX_COMPILER_LAUNCHER)
   find_program(DECAP_CCACHE ccache)
   mark_as_advanced(DECAP_CCACHE)
   if(DECAP_CCACHE)
      set(CMAKE_CXX_COMPILER_LAUNCHER ${DECAP_CCACHE})
   endif()
endif()
