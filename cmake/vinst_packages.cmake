# The external libraries, as the same targets on every platform.
find_package(Qt5 5.15 REQUIRED COMPONENTS Core Gui Network Svg Widgets)
if(BUILD_TESTING OR VINST_BENCH)
  find_package(Qt5 5.15 REQUIRED COMPONENTS Test)
endif()
find_package(TBB REQUIRED)
find_package(CURL 7.87 REQUIRED)
find_package(Threads REQUIRED)

if(NOT CMAKE_CROSSCOMPILING)
  find_package(Qt5 5.15 REQUIRED COMPONENTS DBus Qml)
  find_package(Boost 1.74 REQUIRED COMPONENTS program_options)
  find_package(fmt REQUIRED)
  find_package(spdlog REQUIRED)
  find_package(PkgConfig REQUIRED)
  pkg_check_modules(seccomp REQUIRED IMPORTED_TARGET libseccomp>=2.5)
  return()
endif()

# Header-only libraries are taken from the build machine. A directory with links exposes only them to the
# cross compiler.
set(header_links ${CMAKE_BINARY_DIR}/header_links)
file(MAKE_DIRECTORY ${header_links})
foreach(name boost fmt spdlog)
  if(NOT EXISTS /usr/include/${name})
    message(FATAL_ERROR "/usr/include/${name} is missing. Run scripts/install_deps.sh windows.")
  endif()
  file(CREATE_LINK /usr/include/${name} ${header_links}/${name} SYMBOLIC)
endforeach()

add_library(vinst_headers INTERFACE)
target_include_directories(vinst_headers SYSTEM INTERFACE ${header_links})

add_library(fmt::fmt INTERFACE IMPORTED)
target_link_libraries(fmt::fmt INTERFACE vinst_headers)
target_compile_definitions(fmt::fmt INTERFACE FMT_HEADER_ONLY)

# The log's path may contain any character, and installers must not inherit the log's handle.
add_library(spdlog::spdlog INTERFACE IMPORTED)
target_link_libraries(spdlog::spdlog INTERFACE fmt::fmt)
target_compile_definitions(spdlog::spdlog INTERFACE SPDLOG_FMT_EXTERNAL SPDLOG_WCHAR_FILENAMES SPDLOG_PREVENT_CHILD_FD)

add_library(Boost::program_options STATIC IMPORTED)
set_target_properties(Boost::program_options PROPERTIES
  IMPORTED_LOCATION ${VINST_WIN64_SDK}/lib/libboost_program_options.a
  INTERFACE_LINK_LIBRARIES vinst_headers)
