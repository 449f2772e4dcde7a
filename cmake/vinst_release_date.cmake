# The date of this version, from CHANGELOG.md: what is made from it does not depend on when it is made.
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/CHANGELOG.md)
file(STRINGS CHANGELOG.md released REGEX "^## [0-9.]+ \\([0-9-]+\\)$" LIMIT_COUNT 1)
if(NOT released MATCHES "^## ([0-9.]+) \\(([0-9-]+)\\)$" OR NOT CMAKE_MATCH_1 STREQUAL PROJECT_VERSION)
  message(FATAL_ERROR "The first dated section of CHANGELOG.md is not '## ${PROJECT_VERSION} (YYYY-MM-DD)', "
                      "but '${released}'.")
endif()
set(VINST_RELEASE_DATE ${CMAKE_MATCH_2})
