# What "cmake --install" installs. The programs find their library, its helpers and the licence page
# relative to themselves, so they are together in one directory, with links in the one for commands.
include(GNUInstallDirs)

if(WIN32)
  install(TARGETS vinst vinst_host vinst_gui_host)
  install(FILES licenses/main.html DESTINATION licenses)
  return()
endif()

set(VINST_INSTALL_PROGRAM_DIR lib/vinst CACHE STRING "Directory of the programs, relative to the prefix")
set(VINST_INSTALL_ZSH_DIR ${CMAKE_INSTALL_DATADIR}/zsh/site-functions CACHE STRING "Directory of completions for zsh")

install(TARGETS vinst_host vinst_gui_host vinst_release DESTINATION ${VINST_INSTALL_PROGRAM_DIR}/bin)
install(TARGETS vinst DESTINATION ${VINST_INSTALL_PROGRAM_DIR}/lib)
install(TARGETS vinst_pac vinst_desktop_proxy DESTINATION ${VINST_INSTALL_PROGRAM_DIR}/lib)
install(FILES licenses/main.html DESTINATION ${VINST_INSTALL_PROGRAM_DIR}/licenses)
install(FILES install/vinst/app/vinst_entry.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/vinst)

# The links are relative, so that the prefix may be moved.
file(RELATIVE_PATH programs ${CMAKE_INSTALL_FULL_BINDIR}
     ${CMAKE_INSTALL_PREFIX}/${VINST_INSTALL_PROGRAM_DIR}/bin)
file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/links/completion)
foreach(program vinst vinst_gui vinst_release)
  file(CREATE_LINK ${programs}/${program} ${CMAKE_BINARY_DIR}/links/${program} SYMBOLIC)
  install(FILES ${CMAKE_BINARY_DIR}/links/${program} DESTINATION ${CMAKE_INSTALL_BINDIR})
endforeach()

# A program that people start, and where a desktop finds it.
set(desktop_id example.orvane.vinst)
install(FILES packaging/linux/${desktop_id}.desktop packaging/linux/${desktop_id}.open.desktop
        DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
# The type of files that the second entry opens.
install(FILES packaging/linux/${desktop_id}.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/mime/packages)
configure_file(packaging/linux/${desktop_id}.metainfo.xml.in
               ${CMAKE_BINARY_DIR}/metainfo/${desktop_id}.metainfo.xml @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/metainfo/${desktop_id}.metainfo.xml
        DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)
set(icons ${CMAKE_INSTALL_DATADIR}/icons/hicolor)
install(DIRECTORY packaging/linux/icons/ DESTINATION ${icons})
install(FILES support/afcq/images/1.svg DESTINATION ${icons}/scalable/apps RENAME vinst.svg)

install(FILES README.md CHANGELOG.md LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR})
file(GLOB documents CONFIGURE_DEPENDS docs/*.md docs/*.json)
install(FILES ${documents} DESTINATION ${CMAKE_INSTALL_DOCDIR}/docs)

if(VINST_PERL)
  set(completions ${CMAKE_BINARY_DIR}/completions)
  set(bash ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
  install(FILES ${completions}/vinst ${completions}/vinst_release DESTINATION ${bash})
  # bash looks for a file with the name of the command.
  file(CREATE_LINK vinst ${CMAKE_BINARY_DIR}/links/completion/vinst_gui SYMBOLIC)
  install(FILES ${CMAKE_BINARY_DIR}/links/completion/vinst_gui DESTINATION ${bash})
  install(FILES ${completions}/_vinst DESTINATION ${VINST_INSTALL_ZSH_DIR})
  install(FILES ${completions}/vinst.fish
          DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d)
endif()
if(VINST_PERL AND VINST_PANDOC)
  install(DIRECTORY ${CMAKE_BINARY_DIR}/man/ DESTINATION ${CMAKE_INSTALL_MANDIR})
endif()
