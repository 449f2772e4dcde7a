# Defences against exploited memory errors, in every binary of the build. A test reads the binaries.
if(WIN32)
  # The linker of Debian 12 sets these by default; others don't. A stack protector would add
  # libssp-0.dll to the programs.
  add_link_options(LINKER:--dynamicbase LINKER:--high-entropy-va LINKER:--nxcompat)
  # Versions of Windows that lack functions which the programs need refuse to start them, with a message.
  add_link_options(LINKER:--major-subsystem-version=6 LINKER:--minor-subsystem-version=2)
  return()
endif()

include(CheckPIESupported)
check_pie_supported(LANGUAGES CXX) # otherwise CMake leaves -pie to the compiler's default

add_compile_options(-fstack-protector-strong -fcf-protection)
add_link_options(LINKER:-z,relro LINKER:-z,now)
# The checks need optimization, and the sanitizers replace the functions that are checked.
if(NOT VINST_SANITIZE)
  add_compile_options(
    "$<$<OR:$<CONFIG:Release>,$<CONFIG:RelWithDebInfo>,$<CONFIG:MinSizeRel>>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>")
endif()
