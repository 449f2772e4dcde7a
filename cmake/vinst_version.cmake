# The version resource of Windows programs and libraries.
set(VINST_RC_TEMPLATE ${CMAKE_CURRENT_LIST_DIR}/vinst_version.rc.in)

# vinst_version_resource(TARGET TYPE APPLICATION): adds it to a target. TYPE is VFT_APP or VFT_DLL, and
# APPLICATION what else a program has: statements of the resource compiler, or an empty text.
function(vinst_version_resource target VINST_RC_TYPE VINST_RC_APPLICATION)
  set(file ${CMAKE_CURRENT_BINARY_DIR}/${target}.rc)
  configure_file(${VINST_RC_TEMPLATE} ${file} @ONLY)
  target_sources(${target} PRIVATE ${file})
endfunction()
