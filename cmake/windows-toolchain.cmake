# Cross-builds for Windows 10 and later (x86-64) on Debian. VINST_WIN64_SDK names the directory with
# the libraries; scripts/windows.sh finds or builds it.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(VINST_WIN64_SDK "$ENV{VINST_WIN64_SDK}" CACHE PATH "Libraries for Windows, built by packaging/windows/build_sdk.sh")
if(NOT EXISTS "${VINST_WIN64_SDK}/bin/Qt5Core.dll")
  message(FATAL_ERROR "VINST_WIN64_SDK is not a directory with libraries for Windows: '${VINST_WIN64_SDK}'. "
                      "Run scripts/windows.sh, or packaging/windows/build_sdk.sh to build them.")
endif()
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES VINST_WIN64_SDK)

set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)
set(CMAKE_CXX_FLAGS_INIT "-D_WIN32_WINNT=0x0A00 -DNOMINMAX -DUNICODE -D_UNICODE")

set(CMAKE_FIND_ROOT_PATH "${VINST_WIN64_SDK}" /usr/x86_64-w64-mingw32)
set(CMAKE_PREFIX_PATH "${VINST_WIN64_SDK}")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# The build runs its programs in Wine, with the libraries that they link.
set(CMAKE_CROSSCOMPILING_EMULATOR "${CMAKE_CURRENT_LIST_DIR}/../scripts/wine.sh;${VINST_WIN64_SDK}")
