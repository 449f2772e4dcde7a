# The manual pages and the completions, both from the documents.
find_program(VINST_PERL perl)
find_program(VINST_PANDOC pandoc)
if(NOT VINST_PERL)
  message(STATUS "perl is missing: manual pages and completions are not made")
  return()
endif()

set(outputs)
if(VINST_PANDOC)
  file(GLOB sources CONFIGURE_DEPENDS docs/man/*.md)
  foreach(source IN LISTS sources)
    get_filename_component(name ${source} NAME_WLE)
    string(REGEX MATCH "[0-9]$" section ${name})
    set(page ${CMAKE_BINARY_DIR}/man/man${section}/${name})
    file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/man/man${section})
    add_custom_command(OUTPUT ${page}
      COMMAND ${VINST_PERL} ${CMAKE_SOURCE_DIR}/packaging/linux/man_page.pl
              ${source} ${PROJECT_VERSION} ${VINST_RELEASE_DATE} ${page}
      DEPENDS ${source} packaging/linux/man_page.pl README.md docs/releases.md
      COMMENT "Making the manual page ${name}"
      VERBATIM)
    list(APPEND outputs ${page})
  endforeach()
else()
  message(STATUS "pandoc is missing: manual pages are not made")
endif()

set(completions ${CMAKE_BINARY_DIR}/completions)
file(MAKE_DIRECTORY ${completions})
set(completion_files ${completions}/vinst ${completions}/vinst_release ${completions}/_vinst
                     ${completions}/vinst.fish)
add_custom_command(OUTPUT ${completion_files}
  COMMAND ${VINST_PERL} ${CMAKE_SOURCE_DIR}/packaging/linux/completions.pl
          ${CMAKE_SOURCE_DIR}/README.md ${completions}
  DEPENDS packaging/linux/completions.pl README.md
  COMMENT "Making the completions"
  VERBATIM)
list(APPEND outputs ${completion_files})
add_custom_target(vinst_documents ALL DEPENDS ${outputs})
