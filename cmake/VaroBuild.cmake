# Flags shared by every target of this build, and the shape of its three libraries.

if(PROJECT_IS_TOP_LEVEL)
  if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
    set(CMAKE_BUILD_TYPE Release CACHE STRING "Kind of build" FORCE)
  endif()
  if(NOT CMAKE_CXX_COMPILER_LAUNCHER)
    find_program(VARO_CCACHE ccache)
    if(VARO_CCACHE)
      set(CMAKE_CXX_COMPILER_LAUNCHER ${VARO_CCACHE})
    endif()
  endif()
  set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
endif()

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

# Programs in bin/, libraries in lib/, as after installation: one relative run path serves both.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib)
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib)

# What compilers offer against a smashed stack and jumps to where no function begins; some only on some machines.
include(CheckCXXCompilerFlag)
foreach(flag -fstack-clash-protection -fstack-protector-strong -fcf-protection)
  string(MAKE_C_IDENTIFIER "VARO_HAS${flag}" has)
  check_cxx_compiler_flag(${flag} ${has})
  if(${has})
    list(APPEND VARO_HARDENING ${flag})
  endif()
endforeach()
# Canaries and landing marks are for the program, which reads foreign input: in the libraries they would cost every
# notification a tenth of its instructions.
set(VARO_LIBRARY_HARDENING ${VARO_HARDENING})
list(REMOVE_ITEM VARO_LIBRARY_HARDENING -fstack-protector-strong -fcf-protection)

# varo_hardening(TARGET FLAGS...): compiles a release build with these.
function(varo_hardening target)
  if(NOT VARO_SANITIZE)
    target_compile_options(${target} PRIVATE "$<$<CONFIG:Release>:${ARGN}>")
  endif()
endfunction()

# varo_flags(TARGET): warnings, debug checks, hardening and sanitizers, for our own code only.
function(varo_flags target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion
    $<$<BOOL:${VARO_WERROR}>:-Werror>)
  target_compile_definitions(${target} PRIVATE $<$<CONFIG:Debug>:_GLIBCXX_ASSERTIONS>)
  target_link_options(${target} PRIVATE LINKER:-z,relro LINKER:-z,now)
  if(VARO_SANITIZE)
    string(REPLACE ";" "," sanitizers "${VARO_SANITIZE}")
    target_compile_options(${target} PRIVATE -fsanitize=${sanitizers} -fno-sanitize-recover=all
      -fno-omit-frame-pointer)
    target_link_options(${target} PRIVATE -fsanitize=${sanitizers})
  else()
    target_compile_options(${target} PRIVATE
      $<$<CONFIG:Release>:-U_FORTIFY_SOURCE>
      $<$<CONFIG:Release>:-D_FORTIFY_SOURCE=2>)
  endif()
endfunction()

# varo_library(TARGET NAME file-name FOLDERS folders... HEADERS folders... [LINK targets...])
# One shared library out of all sources of its folders; HEADERS names the folders it installs headers of.
function(varo_library target)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "NAME" "FOLDERS;HEADERS;LINK")
  set(sources)
  foreach(folder IN LISTS arg_FOLDERS)
    file(GLOB_RECURSE found CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${folder}/*.cpp)
    list(APPEND sources ${found})
  endforeach()
  if(NOT sources)
    # CMake refuses a library without sources.
    set(sources ${PROJECT_BINARY_DIR}/empty.cpp)
    file(CONFIGURE OUTPUT ${sources} CONTENT "")
  endif()

  add_library(${target} SHARED ${sources})
  add_library(Varo::${target} ALIAS ${target})
  varo_flags(${target})
  varo_hardening(${target} ${VARO_LIBRARY_HARDENING})
  set_target_properties(${target} PROPERTIES
    OUTPUT_NAME ${arg_NAME}
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR}
    INSTALL_RPATH "$ORIGIN")
  target_compile_features(${target} PUBLIC cxx_std_20)
  # Exported functions are never replaced at load time, so calls within a file may be inlined.
  target_compile_options(${target} PRIVATE -fno-semantic-interposition -fno-plt)
  # For the same reason a library's own functions are not looked up when it is loaded.
  target_link_options(${target} PRIVATE LINKER:-Bsymbolic-functions)
  # Type nodes point into the libraries' code for the life of the process: they are never unloaded.
  target_link_options(${target} PRIVATE LINKER:-z,nodelete)
  if(NOT VARO_SANITIZE)
    target_link_options(${target} PRIVATE LINKER:-z,defs)
  endif()
  target_include_directories(${target} PUBLIC
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/varo>)
  target_link_libraries(${target} PUBLIC ${arg_LINK})

  install(TARGETS ${target} EXPORT VaroTargets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
  foreach(folder IN LISTS arg_HEADERS)
    install(DIRECTORY ${PROJECT_SOURCE_DIR}/${folder} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/varo
      FILES_MATCHING PATTERN "*.h")
  endforeach()
endfunction()
