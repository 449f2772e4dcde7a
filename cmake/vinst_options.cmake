# One INTERFACE target carries what every target of the project is compiled with.
add_library(vinst_options INTERFACE)
target_compile_options(vinst_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion
  $<$<BOOL:${VINST_WERROR}>:-Werror>
  # Assertions name their file; the machine that built the library is nobody's business.
  -fmacro-prefix-map=${CMAKE_SOURCE_DIR}/=)
target_compile_definitions(vinst_options INTERFACE QT_NO_KEYWORDS QT_DEPRECATED_WARNINGS)
target_include_directories(vinst_options INTERFACE ${CMAKE_SOURCE_DIR})

if(VINST_SANITIZE)
  # With the sanitizers' checks in the way the compiler takes parts of <regex> for uninitialised.
  target_compile_options(vinst_options INTERFACE -Wno-maybe-uninitialized)
  add_compile_options(-fsanitize=${VINST_SANITIZE} -fno-omit-frame-pointer
                      -fno-sanitize-recover=undefined)
  add_link_options(-fsanitize=${VINST_SANITIZE})
endif()
if(VINST_COVERAGE)
  add_compile_options(--coverage)
  add_link_options(--coverage)
endif()

# Declares a static library of the program: vinst_static_library(NAME SOURCES... )
function(vinst_static_library name)
  add_library(${name} STATIC ${ARGN})
  target_link_libraries(${name} PRIVATE vinst_options)
  target_include_directories(${name} PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
endfunction()

# The ending of a platform's own source files.
if(WIN32)
  set(VINST_PLATFORM_SUFFIX win32)
else()
  set(VINST_PLATFORM_SUFFIX posix)
endif()
