; What setup.nsi and uninstall.nsi share. pack.sh defines VERSION, NUMBERS (the version as four numbers), FILES (the
; macros with the list of files), TITLE (the name that users read), SUFFIX (of its registry keys) and optionally
; ICON; and for a release, RELEASE_VERSION and optionally RELEASE_ICON (of the Start menu entry, relative to the
; directory). The including script defines DESCRIPTION (of its program).

Target amd64-unicode
SetCompressor /SOLID lzma
ManifestDPIAware true
ManifestSupportedOS all
; Needs no rights for the current user; for all users it restarts itself and requests them.
RequestExecutionLevel user
AllowSkipFiles off

!define PUBLISHER "Orvane"
!define PARENT_KEY "Software\Microsoft\Windows\CurrentVersion\Uninstall"
!define KEY "${PARENT_KEY}\OrvaneVeltrinCrestInstaller${SUFFIX}"
!define CLASSES "Software\Classes"
; The type of manifests. It is among those with which the user can open a JSON file, but not the default.
!define TYPE "Orvane.vinst.manifest${SUFFIX}"
!define JSON_TYPES "${CLASSES}\.json\OpenWithProgids"
!ifdef RELEASE_ICON
  !define SHOWN_ICON "$INSTDIR\${RELEASE_ICON}"
!else
  !define SHOWN_ICON "$INSTDIR\bin\vinst.exe"
!endif
!define APP_PATHS "Software\Microsoft\Windows\CurrentVersion\App Paths"
!define APP_PATH "${APP_PATHS}\vinst_cli.exe"
!define FOLDER "Orvane\${TITLE}"

!include MUI2.nsh
!include nsDialogs.nsh
!include LogicLib.nsh
!include FileFunc.nsh
!include WinVer.nsh
!include x64.nsh
!include "${FILES}"

Name "${TITLE}"
BrandingText "${PUBLISHER} ${TITLE} ${VERSION}"
ShowInstDetails nevershow

VIProductVersion ${NUMBERS}
VIFileVersion ${NUMBERS}
VIAddVersionKey ProductName "${TITLE}"
VIAddVersionKey ProductVersion "${VERSION}"
VIAddVersionKey FileVersion "${VERSION}"
VIAddVersionKey FileDescription "${DESCRIPTION}"
VIAddVersionKey CompanyName "${PUBLISHER}"
VIAddVersionKey LegalCopyright "${PUBLISHER}"

Var Mode         ; AllUsers or CurrentUser
Var ModeGiven    ; the same, if given on the command line
Var CreatedDir   ; the topmost directory that setup has created
Var InUse        ; a file that is in use

; Quits with a message, which unattended mode doesn't show.
!macro LEAVE CODE TEXT
  MessageBox MB_OK|MB_ICONSTOP "${TEXT}" /SD IDOK
  SetErrorLevel ${CODE}
  Quit
!macroend
!define Leave "!insertmacro LEAVE"

; Reads the users from the command line into $ModeGiven.
Function ReadCommandLine
  StrCpy $ModeGiven ""
  ${GetParameters} $0
  ClearErrors
  ${GetOptions} $0 "/AllUsers" $1
  ${IfNot} ${Errors}
    StrCpy $ModeGiven AllUsers
  ${EndIf}
  ClearErrors
  ${GetOptions} $0 "/CurrentUser" $1
  ${IfNot} ${Errors}
    ${If} $ModeGiven != ""
      ${Leave} 87 "Only one of /AllUsers and /CurrentUser can be given."
    ${EndIf}
    StrCpy $ModeGiven CurrentUser
  ${EndIf}
  ClearErrors
FunctionEnd

; Selects the registry, the Start menu and the folders of the users in $Mode from here on.
Function EnterMode
  SetRegView 64
  ${If} $Mode == AllUsers
    SetShellVarContext all
  ${Else}
    SetShellVarContext current
  ${EndIf}
FunctionEnd

; Stores the file path from the stack in $InUse if the file can't be opened for writing.
Function NoteIfInUse
  Exch $0
  Push $1
  ${If} ${FileExists} "$0"
    ClearErrors
    FileOpen $1 "$0" a
    ${If} ${Errors}
      StrCpy $InUse $0
    ${Else}
      FileClose $1
    ${EndIf}
    ClearErrors
  ${EndIf}
  Pop $1
  Pop $0
FunctionEnd

; Asks to close the program for as long as a file in $INSTDIR is in use.
Function WaitUntilFree
  ${Do}
    StrCpy $InUse ""
    !insertmacro EACH_PROGRAM_FILE NoteIfInUse
    !ifdef IS_SETUP
      Push "$INSTDIR\uninstall.exe"
      Call NoteIfInUse
    !endif
    ${If} $InUse == ""
      ${ExitDo}
    ${EndIf}
    MessageBox MB_RETRYCANCEL|MB_ICONEXCLAMATION "The ${TITLE} is running. Close it and try again.$\r$\n$\r$\nThis file is in use:$\r$\n$InUse" /SD IDCANCEL IDRETRY +3
    SetErrorLevel 32
    Abort "$InUse is in use."
  ${Loop}
FunctionEnd

; Removes the directory on the stack and its parents up to $CreatedDir, if they are empty.
Function RemoveEmptyDirectories
  Exch $0
  Push $1
  Push $2
  RMDir "$0"
  ${If} $CreatedDir != ""
    StrLen $1 $CreatedDir
    ${Do}
      ${GetParent} $0 $0
      StrLen $2 $0
      ${If} $2 < $1
        ${ExitDo}
      ${EndIf}
      RMDir "$0"
    ${Loop}
  ${EndIf}
  ClearErrors
  Pop $2
  Pop $1
  Pop $0
FunctionEnd

; Makes the desktop read the types of files again.
Function NotifyOfTypes
  System::Call 'shell32::SHChangeNotify(i 0x08000000, i 0, p 0, p 0)'
FunctionEnd

; Opens the key of the environment of the users in $Mode. $1: the key; $0: 0 if it was opened.
Function OpenEnvironment
  ; KEY_QUERY_VALUE | KEY_SET_VALUE | KEY_WOW64_64KEY
  ${If} $Mode == AllUsers
    System::Call 'advapi32::RegOpenKeyExW(p 0x80000002, w "SYSTEM\CurrentControlSet\Control\Session Manager\Environment", i 0, i 0x0103, *p .r1) i .r0'
  ${Else}
    System::Call 'advapi32::RegOpenKeyExW(p 0x80000001, w "Environment", i 0, i 0x0103, *p .r1) i .r0'
  ${EndIf}
FunctionEnd

; Reads the variable PATH of the key $1. It may be longer than a string of NSIS, so it is in memory that the caller
; frees. $2: its type; $4: ";", its value and ";", with space for $INSTDIR\bin behind it; $5: the part that begins
; with ";$INSTDIR\bin;", or 0.
Function ReadPath
  StrCpy $2 2 ; REG_EXPAND_SZ
  StrCpy $3 0
  System::Call 'advapi32::RegQueryValueExW(p r1, w "Path", p 0, *i r2r2, p 0, *i r3r3) i .r0'
  ${If} $0 <> 0
    StrCpy $2 2
    StrCpy $3 0
  ${EndIf}
  IntOp $0 $3 + 2500
  System::Alloc $0
  Pop $4
  System::Call 'kernel32::lstrcpyW(p r4, w ";")'
  ${If} $3 > 0
    IntPtrOp $0 $4 + 2
    System::Call 'advapi32::RegQueryValueExW(p r1, w "Path", p 0, p 0, p r0, *i r3r3)'
    System::Call 'kernel32::lstrcatW(p r4, w ";")'
  ${EndIf}
  System::Call 'shlwapi::StrStrIW(p r4, w ";$INSTDIR\bin;") p .r5'
FunctionEnd

; Writes the variable PATH of the key $1, with the type $2, from the memory $4 as ReadPath fills it. Frees that, and
; closes the key.
Function WritePath
  System::Call 'kernel32::lstrlenW(p r4) i .r3'
  ${If} $3 < 2
    System::Call 'advapi32::RegDeleteValueW(p r1, w "Path")'
  ${Else}
    IntOp $0 $3 * 2
    IntPtrOp $0 $4 + $0
    IntPtrOp $0 $0 - 2
    System::Call '*$0(&i2 0)' ; the last semicolon
    IntPtrOp $0 $4 + 2
    IntOp $3 $3 - 1
    IntOp $3 $3 * 2
    System::Call 'advapi32::RegSetValueExW(p r1, w "Path", i 0, i r2, p r0, i r3)'
  ${EndIf}
  System::Free $4
  System::Call 'advapi32::RegCloseKey(p r1)'
  SendMessage ${HWND_BROADCAST} ${WM_SETTINGCHANGE} 0 "STR:Environment" /TIMEOUT=2000
FunctionEnd

; Removes $INSTDIR\bin from the variable PATH of the users in $Mode.
Function RemoveFromPath
  Call OpenEnvironment
  ${If} $0 <> 0
    Return
  ${EndIf}
  Call ReadPath
  ${If} $5 P= 0
    System::Free $4
    System::Call 'advapi32::RegCloseKey(p r1)'
    Return
  ${EndIf}
  StrLen $0 ";$INSTDIR\bin"
  IntOp $0 $0 * 2
  IntPtrOp $0 $5 + $0
  System::Call 'kernel32::lstrlenW(p r0) i .r3'
  IntOp $3 $3 + 1
  IntOp $3 $3 * 2
  System::Call 'kernel32::RtlMoveMemory(p r5, p r0, p r3)'
  Call WritePath
FunctionEnd

; Removes the Start menu entry and the registry keys if they belong to $INSTDIR.
Function Unregister
  ReadRegStr $0 SHCTX "${APP_PATH}" ""
  ${If} $0 == "$INSTDIR\bin\vinst_cli.exe"
    DeleteRegKey SHCTX "${APP_PATH}"
  ${EndIf}
  ReadRegStr $0 SHCTX "${KEY}" InstallLocation
  ${If} $0 == $INSTDIR
    Delete "$SMPROGRAMS\${TITLE}.lnk"
    DeleteRegKey SHCTX "${CLASSES}\${TYPE}"
    DeleteRegValue SHCTX "${JSON_TYPES}" "${TYPE}"
    DeleteRegKey /ifempty SHCTX "${JSON_TYPES}"
    DeleteRegKey /ifempty SHCTX "${CLASSES}\.json"
    DeleteRegKey SHCTX "${KEY}"
    Call RemoveFromPath
    Call NotifyOfTypes
    ${If} $Mode == CurrentUser
      ; These keys may exist only for this program in a user's registry. The machine's always has them.
      DeleteRegKey /ifempty HKCU "${PARENT_KEY}"
      DeleteRegKey /ifempty HKCU "${APP_PATHS}"
      DeleteRegKey /ifempty HKCU "${CLASSES}"
    ${EndIf}
  ${EndIf}
FunctionEnd

; Removes all installed files except the uninstaller. Errors mean that a file remains.
Function RemoveFiles
  SetOutPath "$TEMP" ; the current directory can't be removed
  !insertmacro REMOVE_FILES
  ${If} ${Errors}
    StrCpy $0 1
  ${Else}
    StrCpy $0 0
  ${EndIf}
  !insertmacro REMOVE_DIRECTORIES
  ClearErrors
  ${If} $0 = 1
    SetErrors
  ${EndIf}
FunctionEnd
