# Cross-builds for Windows 10 and later, x86-64, on a Debian system. VINST_WIN64_SDK names the
# folder of libraries that are linked with; scripts/windows.sh finds or builds it.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(VINST_WIN64_SDK "$ENV{VINST_WIN64_SDK}" CACHE PATH "Libraries for Windows, as packaging/windows/build_sdk.sh makes them")
if(NOT EXISTS "${VINST_WIN64_SDK}/bin/Qt5Core.dll")
  message(FATAL_ERROR "VINST_WIN64_SDK names no folder of libraries for Windows: '${VINST_WIN64_SDK}'. "
                      "Run scripts/windows.sh, or packaging/windows/build_sdk.sh to make one.")
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

# Programs of the build run through Wine, with the libraries that they link.
set(CMAKE_CROSSCOMPILING_EMULATOR "${CMAKE_CURRENT_LIST_DIR}/../scripts/wine.sh;${VINST_WIN64_SDK}")
