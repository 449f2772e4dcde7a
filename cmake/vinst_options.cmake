# The compiler options of every target in the project.
add_library(vinst_options INTERFACE)
target_compile_options(vinst_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion
  $<$<BOOL:${VINST_WERROR}>:-Werror>
  # Assertions contain file names; keep the build machine's paths out of them.
  -fmacro-prefix-map=${CMAKE_SOURCE_DIR}/=)
target_compile_definitions(vinst_options INTERFACE QT_NO_KEYWORDS QT_DEPRECATED_WARNINGS)
target_include_directories(vinst_options INTERFACE ${CMAKE_SOURCE_DIR})

if(VINST_SANITIZE)
  # With sanitizers, the compiler wrongly reports parts of <regex> as uninitialized.
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

# Declares a room of the program as the static library room_NAME: vinst_room(NAME SOURCES...)
#
# A static library may have undefined symbols, and a program that links all rooms would resolve them,
# even from higher floors. Therefore each room is also linked as a module with only its own
# dependencies, which fails if it calls anything above its floor.
function(vinst_room name)
  vinst_static_library(room_${name} ${ARGN})
  if(BUILD_TESTING AND NOT WIN32 AND NOT VINST_SANITIZE)
    add_library(room_${name}_floor MODULE $<TARGET_OBJECTS:room_${name}>)
    target_link_libraries(room_${name}_floor PRIVATE $<TARGET_PROPERTY:room_${name},LINK_LIBRARIES>)
    target_link_options(room_${name}_floor PRIVATE LINKER:--no-undefined)
    set_target_properties(room_${name}_floor PROPERTIES
      AUTOMOC OFF
      AUTOUIC OFF
      LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/floors)
  endif()
endfunction()

# The suffix of platform-specific source files.
if(WIN32)
  set(VINST_PLATFORM_SUFFIX win32)
else()
  set(VINST_PLATFORM_SUFFIX posix)
endif()
