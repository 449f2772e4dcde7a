; The setup program. pack.sh builds it, and defines SETUP (the program to make), UNINSTALLER (see
; uninstall.nsi), KILOBYTES, LICENSE, PICTURE and what common.nsh needs.
;
; Command line: /CurrentUser or /AllUsers, /S for unattended mode (by default for the current user), /Downgrade
; to replace a newer version without asking, and last /D=DIRECTORY without quotes. Exit codes other than 0:
;      1  cancelled by the user
;      2  a file could not be installed; everything was rolled back
;     32  files are in use; nothing was changed
;     87  wrong command line
;    112  not enough space; nothing was changed
;    183  the directory contains an installation for other users; nothing was changed
;    740  needs administrator rights; nothing was changed
;   1150  needs a newer Windows
;   1633  needs a 64-bit Windows
;   1638  a newer version is installed; nothing was changed
; The codes from 32 on are the Windows error codes.
;
; An upgrade unpacks the files into the directory setup~new below the target, moves the old version into setup~old
; below its directory, and the new one into its place. An error until then restores the old version.

!define IS_SETUP
!define DESCRIPTION "${TITLE} set-up"
!include "${COMMON}"
!include WordFunc.nsh
OutFile "${SETUP}"

Var DirGiven     ; as given by /D=
Var Begun        ; 1 after the first change
Var IsInPlace    ; 1 after the first file of the new version was moved to its place
Var OldDir       ; directory of the installed version for the same users, or empty
Var OldVersion   ; its version, size and CreatedDirectory, and that of its release
Var OldSize
Var OldCreated
Var OldRelease
Var Winner       ; which of two files with the same path remains: source or target
Var ModePage
Var ForMeButton
Var ForAllButton

!ifdef ICON
  !define MUI_ICON "${ICON}"
!else
  !define MUI_ICON "${NSISDIR}\Contrib\Graphics\Icons\box-install.ico"
!endif
!define MUI_WELCOMEFINISHPAGE_BITMAP "${PICTURE}"
!define MUI_ABORTWARNING
!define MUI_FINISHPAGE_NOAUTOCLOSE

Page custom ShowModePage LeaveModePage
!insertmacro MUI_PAGE_LICENSE "${LICENSE}"
!insertmacro MUI_PAGE_DIRECTORY
!insertmacro MUI_PAGE_INSTFILES
!define MUI_FINISHPAGE_RUN
!define MUI_FINISHPAGE_RUN_TEXT "Start the ${TITLE}"
!define MUI_FINISHPAGE_RUN_FUNCTION StartProgram
!insertmacro MUI_PAGE_FINISH

!insertmacro MUI_LANGUAGE English

; ---- Installing ---------------------------------------------------------------------------------

Function .onInit
  ${IfNot} ${RunningX64}
    ${Leave} 1633 "The ${TITLE} needs a 64-bit Windows."
  ${EndIf}
  ${IfNot} ${AtLeastWin10}
    ${Leave} 1150 "The ${TITLE} needs Windows 10 or newer."
  ${EndIf}
  StrCpy $DirGiven $INSTDIR
  Call ReadCommandLine
  StrCpy $Mode CurrentUser
  ${If} $ModeGiven != ""
    StrCpy $Mode $ModeGiven
  ${ElseIfNot} ${Silent}
    ; Proposes the same users as last time.
    SetRegView 64
    ReadRegStr $0 HKCU "${KEY}" InstallLocation
    ReadRegStr $1 HKLM "${KEY}" InstallLocation
    ${If} $0 == ""
    ${AndIf} $1 != ""
      StrCpy $Mode AllUsers
    ${EndIf}
    ClearErrors
  ${EndIf}
  ${If} $ModeGiven == AllUsers
    UserInfo::GetAccountType
    Pop $0
    ${If} $0 != Admin
      ${If} ${Silent}
        SetErrorLevel 740
        Quit
      ${EndIf}
      Call StartAsAdministrator
      ${If} ${Errors}
        SetErrorLevel 740
      ${EndIf}
      Quit
    ${EndIf}
  ${EndIf}
  Call ChooseDirectory
FunctionEnd

; Errors mean that elevation was refused.
Function StartAsAdministrator
  StrCpy $0 "/AllUsers"
  ${If} $DirGiven != ""
    StrCpy $0 "$0 /D=$DirGiven"
  ${EndIf}
  ClearErrors
  ExecShell runas "$EXEPATH" "$0"
FunctionEnd

; Proposes a directory for the users in $Mode.
Function ChooseDirectory
  Call EnterMode
  ${If} $DirGiven != ""
    StrCpy $INSTDIR $DirGiven
    Return
  ${EndIf}
  ReadRegStr $INSTDIR SHCTX "${KEY}" InstallLocation
  ClearErrors
  ${If} $INSTDIR != ""
    Return
  ${EndIf}
  ${If} $Mode == AllUsers
    StrCpy $INSTDIR "$PROGRAMFILES64\${FOLDER}"
  ${Else}
    StrCpy $INSTDIR "$LOCALAPPDATA\Programs\${FOLDER}"
  ${EndIf}
FunctionEnd

Function ShowModePage
  ${If} $ModeGiven != ""
    Abort ; already decided
  ${EndIf}
  !insertmacro MUI_HEADER_TEXT "Choose Users" "Choose for whom to install the ${TITLE}."
  nsDialogs::Create 1018
  Pop $ModePage
  ${NSD_CreateLabel} 0 0 100% 24u "Who on this computer is going to use the ${TITLE}?"
  Pop $0
  ${NSD_CreateRadioButton} 10u 30u 95% 12u "Only &me"
  Pop $ForMeButton
  ${NSD_CreateRadioButton} 10u 48u 95% 12u "&Everybody who uses this computer (asks for an administrator's approval)"
  Pop $ForAllButton
  ${If} $Mode == AllUsers
    ${NSD_Check} $ForAllButton
    ${NSD_SetFocus} $ForAllButton
  ${Else}
    ${NSD_Check} $ForMeButton
    ${NSD_SetFocus} $ForMeButton
  ${EndIf}
  nsDialogs::Show
FunctionEnd

Function LeaveModePage
  ${NSD_GetState} $ForAllButton $0
  ${If} $0 = ${BST_CHECKED}
    StrCpy $Mode AllUsers
    UserInfo::GetAccountType
    Pop $0
    ${If} $0 != Admin
      Call StartAsAdministrator
      ${If} ${Errors}
        Abort ; stays on the page
      ${EndIf}
      Quit
    ${EndIf}
  ${Else}
    StrCpy $Mode CurrentUser
  ${EndIf}
  Call ChooseDirectory
FunctionEnd

; A directory can't belong to two installations: each would remove the other's files.
Function RefuseOthersDirectory
  ${If} $Mode == AllUsers
    ReadRegStr $0 HKCU "${KEY}" InstallLocation
    StrCpy $1 "you alone"
  ${Else}
    ReadRegStr $0 HKLM "${KEY}" InstallLocation
    StrCpy $1 "all users"
  ${EndIf}
  ClearErrors
  ${If} $0 == $INSTDIR
    MessageBox MB_OK|MB_ICONSTOP "In $INSTDIR the ${TITLE} is installed for $1. Uninstall that first, or choose another directory." /SD IDOK
    SetErrorLevel 183
    Abort "$INSTDIR belongs to another installation."
  ${EndIf}
FunctionEnd

; The directory may not exist yet, so the free space is that of its nearest existing parent.
Function RefuseFullDisk
  Call FindMissing
  ${GetParent} $CreatedDir $0
  ${If} $CreatedDir == ""
    StrCpy $0 $INSTDIR
  ${EndIf}
  System::Call 'kernel32::GetDiskFreeSpaceExW(w "$0\", *l .r1, p 0, p 0) i .r2'
  ${If} $2 <> 0
    System::Int64Op $1 / 1024
    Pop $1
    System::Int64Op $1 < ${KILOBYTES}
    Pop $1
    ${If} $1 = 1
      MessageBox MB_OK|MB_ICONSTOP "There is not enough space for $INSTDIR. ${KILOBYTES} KB are needed." /SD IDOK
      SetErrorLevel 112
      Abort "There is not enough space."
    ${EndIf}
  ${EndIf}
FunctionEnd

; Stores the topmost missing directory of the path $INSTDIR in $CreatedDir.
Function FindMissing
  StrCpy $CreatedDir ""
  StrCpy $0 $INSTDIR
  ${DoUntil} ${FileExists} "$0\*.*"
    StrCpy $CreatedDir $0
    ${GetParent} $0 $0
    ${If} $0 == ""
      ${ExitDo}
    ${EndIf}
  ${Loop}
FunctionEnd

; ---- Replacing the old version ----

; $3: the first file or directory in the directory $0 that is not in use by setup itself; empty if there is none.
; To move all, ask again after each: an open search would keep the directory from being removed.
Function FirstEntry
  Push $2
  Push $4
  Push $5
  FindFirst $2 $3 "$0\*.*"
  ${DoWhile} $3 != ""
    ; The new version may be installed below the old one.
    StrLen $4 "$0\$3\"
    StrCpy $5 "$INSTDIR\" $4
    ${If} $3 != "."
    ${AndIf} $3 != ".."
    ${AndIf} $3 != "setup~old"
    ${AndIf} $3 != "setup~new"
    ${AndIf} $5 != "$0\$3\"
      ${ExitDo}
    ${EndIf}
    FindNext $2 $3
  ${Loop}
  FindClose $2
  Pop $5
  Pop $4
  Pop $2
  ClearErrors
FunctionEnd

; Moves everything in the directory $0 to the directory $1, and removes $0. Errors mean that something remains.
Function MoveAll
  Push $3
  CreateDirectory "$1"
  ${Do}
    Call FirstEntry
    ${If} $3 == ""
      ${ExitDo}
    ${EndIf}
    ${IfNot} ${FileExists} "$1\$3"
      Rename "$0\$3" "$1\$3"
    ${ElseIf} ${FileExists} "$0\$3\*.*"
      Push $0
      Push $1
      StrCpy $0 "$0\$3"
      StrCpy $1 "$1\$3"
      Call MoveAll
      Pop $1
      Pop $0
    ${ElseIf} $Winner == source
      Delete "$1\$3"
      Rename "$0\$3" "$1\$3"
    ${Else}
      Delete "$0\$3"
    ${EndIf}
    ${If} ${Errors}
      ${ExitDo}
    ${EndIf}
  ${Loop}
  Pop $3
  RMDir "$0"
FunctionEnd

; A newer version is replaced only if the user agrees. Of a release, its version counts first.
Function RefuseDowngrade
  ${GetParameters} $0
  ClearErrors
  ${GetOptions} $0 "/Downgrade" $1
  ${IfNot} ${Errors}
  ${OrIf} $OldVersion == ""
    ClearErrors
    Return
  ${EndIf}
  ClearErrors
  StrCpy $2 0
  !ifdef RELEASE_VERSION
    ${If} $OldRelease != ""
      ${VersionCompare} "$OldRelease" "${RELEASE_VERSION}" $2
    ${EndIf}
  !endif
  ${If} $2 = 0
    ${WordFind} "$OldVersion" "+" "+1" $0
    ${WordFind} "$0" "-" "+1" $0
    ${VersionCompare} "$0.0" "${NUMBERS}" $2
  ${EndIf}
  ClearErrors
  ${If} $2 = 1
    MessageBox MB_YESNO|MB_ICONQUESTION|MB_DEFBUTTON2 "The newer version $OldVersion is installed. Do you want to replace it with the version ${VERSION}?" /SD IDNO IDYES +3
    SetErrorLevel 1638
    Abort "The newer version $OldVersion is installed."
  ${EndIf}
FunctionEnd

; A file can't be installed where a directory exists.
Function RefuseBlocked
  !insertmacro EACH_FILE RefuseDirectory
FunctionEnd

Function RefuseDirectory
  Exch $0
  ${If} ${FileExists} "$0\*.*"
    MessageBox MB_OK|MB_ICONSTOP "There is a directory in place of the file $0." /SD IDOK
    SetErrorLevel 2
    Abort "There is a directory in place of the file $0."
  ${EndIf}
  Pop $0
FunctionEnd

; Reads what is installed.
Function FindOldVersion
  ReadRegStr $OldDir SHCTX "${KEY}" InstallLocation
  ReadRegStr $OldVersion SHCTX "${KEY}" DisplayVersion
  ReadRegDWORD $OldSize SHCTX "${KEY}" EstimatedSize
  ReadRegStr $OldCreated SHCTX "${KEY}" CreatedDirectory
  ReadRegStr $OldRelease SHCTX "${KEY}" ReleaseVersion
  ClearErrors
FunctionEnd

; Completes or undoes an earlier upgrade that was interrupted, as by a power failure.
Function FinishInterrupted
  RMDir /r "$INSTDIR\setup~new"
  ${If} $OldDir != ""
  ${AndIf} ${FileExists} "$OldDir\setup~old\*.*"
    ${If} ${FileExists} "$OldDir\uninstall.exe"
      Call RemoveOldVersion
    ${Else}
      Call RestoreOldFiles
    ${EndIf}
  ${EndIf}
  ${IfNot} ${FileExists} "$OldDir\uninstall.exe"
    StrCpy $OldDir ""
  ${EndIf}
  ClearErrors
FunctionEnd

Function MoveOldVersionAside
  ${If} $OldDir == ""
    Return
  ${EndIf}
  SetOutPath "$TEMP" ; the current directory can't be moved
  CreateDirectory "$OldDir\setup~old"
  StrCpy $0 $OldDir
  StrCpy $4 0
  ${Do}
    Call FirstEntry
    ${If} $3 == ""
      ${ExitDo}
    ${EndIf}
    ClearErrors
    Rename "$OldDir\$3" "$OldDir\setup~old\$3"
    ${If} ${Errors}
      ; A virus scanner, or a program that is just ending, leaves it within 10 s.
      IntOp $4 $4 + 1
      ${If} $4 < 20
        Sleep 500
      ${Else}
        MessageBox MB_RETRYCANCEL|MB_ICONEXCLAMATION "$OldDir\$3 is in use. Close the programs that use it and try again." /SD IDCANCEL IDRETRY +3
        SetErrorLevel 32
        Abort "$OldDir\$3 is in use."
      ${EndIf}
    ${EndIf}
  ${Loop}
FunctionEnd

Function RestoreOldFiles
  StrCpy $0 "$OldDir\setup~old"
  StrCpy $1 $OldDir
  StrCpy $Winner target
  Call MoveAll
FunctionEnd

; Deletes the file on the stack, for at most 10 s: its program may not have ended completely, or a virus scanner reads it.
Function DeletePatiently
  Exch $0
  Push $1
  StrCpy $1 0
  ${DoWhile} $1 < 20
    Delete "$0"
    ${IfNot} ${FileExists} "$0"
      ${ExitDo}
    ${EndIf}
    Sleep 500
    IntOp $1 $1 + 1
  ${Loop}
  Pop $1
  Pop $0
FunctionEnd

; The old version's own uninstaller knows its files. What else is there belongs to others, and returns to its place.
Function RemoveOldVersion
  ClearErrors
  ExecWait '"$OldDir\setup~old\uninstall.exe" /S /$Mode _?=$OldDir\setup~old' $0
  ${If} ${Errors}
  ${OrIf} $0 <> 0
    ClearErrors ; the next setup tries it again
    Return
  ${EndIf}
  Push "$OldDir\setup~old\uninstall.exe"
  Call DeletePatiently
  Call RestoreOldFiles
  ClearErrors
FunctionEnd

; Appends $INSTDIR\bin to the variable PATH of the users in $Mode, unless it is there. Keeps the errors flag.
Function AddToPath
  Call OpenEnvironment
  ${If} $0 <> 0
    Return
  ${EndIf}
  Call ReadPath
  ${If} $5 P<> 0
    System::Free $4
    System::Call 'advapi32::RegCloseKey(p r1)'
    Return
  ${EndIf}
  System::Call 'kernel32::lstrcatW(p r4, w "$INSTDIR\bin;")'
  Call WritePath
FunctionEnd

; Writes the registry and the Start menu entry for a version in $INSTDIR. Errors mean that something was not written.
; \param $R0  its version, $R1 its size in KB, $R2 CreatedDirectory, $R3 the version of its release
Function Register
  ; The first of several installations has the App Path, as in PATH.
  ReadRegStr $0 SHCTX "${APP_PATH}" ""
  ClearErrors
  ${IfNot} ${FileExists} "$0"
    WriteRegStr SHCTX "${APP_PATH}" "" "$INSTDIR\bin\vinst_cli.exe"
  ${EndIf}
  WriteRegStr SHCTX "${KEY}" DisplayName "${TITLE}"
  WriteRegStr SHCTX "${KEY}" DisplayVersion "$R0"
  WriteRegStr SHCTX "${KEY}" Publisher "${PUBLISHER}"
  WriteRegStr SHCTX "${KEY}" DisplayIcon "${SHOWN_ICON},0"
  WriteRegStr SHCTX "${KEY}" InstallLocation "$INSTDIR"
  WriteRegStr SHCTX "${KEY}" UninstallString '"$INSTDIR\uninstall.exe" /$Mode'
  WriteRegStr SHCTX "${KEY}" QuietUninstallString '"$INSTDIR\uninstall.exe" /S /$Mode'
  WriteRegDWORD SHCTX "${KEY}" EstimatedSize $R1
  WriteRegDWORD SHCTX "${KEY}" NoModify 1
  WriteRegDWORD SHCTX "${KEY}" NoRepair 1
  WriteRegStr SHCTX "${KEY}" CreatedDirectory "$R2"
  ${If} $R3 != ""
    WriteRegStr SHCTX "${KEY}" ReleaseVersion "$R3"
  ${EndIf}
  WriteRegStr SHCTX "${KEY}" HelpLink "https://docs.orvane.example/vinst"
  WriteRegStr SHCTX "${KEY}" URLInfoAbout "https://docs.orvane.example/veltrin"
  WriteRegStr SHCTX "${CLASSES}\${TYPE}" "" "Release manifest"
  WriteRegStr SHCTX "${CLASSES}\${TYPE}\DefaultIcon" "" "${SHOWN_ICON},0"
  WriteRegStr SHCTX "${CLASSES}\${TYPE}\shell\open" FriendlyAppName "${TITLE}"
  WriteRegStr SHCTX "${CLASSES}\${TYPE}\shell\open\command" "" '"$INSTDIR\bin\vinst.exe" --manifest "%1"'
  WriteRegStr SHCTX "${JSON_TYPES}" "${TYPE}" ""
  SetOutPath "$INSTDIR\bin"
  CreateShortcut "$SMPROGRAMS\${TITLE}.lnk" "$INSTDIR\bin\vinst.exe" "" "${SHOWN_ICON}"
  SetOutPath "$TEMP"
  Call AddToPath
  Call NotifyOfTypes
FunctionEnd

Section
  Call FindOldVersion
  Call RefuseDowngrade
  Call RefuseOthersDirectory
  Call RefuseBlocked
  Call WaitUntilFree
  ${If} $OldDir != ""
  ${AndIf} $OldDir != $INSTDIR
    StrCpy $R4 $INSTDIR
    StrCpy $INSTDIR $OldDir
    Call WaitUntilFree
    StrCpy $INSTDIR $R4
  ${EndIf}
  Call RefuseFullDisk
  Call FinishInterrupted
  Call FindMissing
  ${If} $OldCreated != ""
    ; Directories that the old version's setup has created are still to be removed with this version.
    StrLen $0 "$OldCreated\"
    StrCpy $1 "$INSTDIR\" $0
    ${If} $1 == "$OldCreated\"
      StrCpy $CreatedDir $OldCreated
    ${EndIf}
  ${EndIf}

  StrCpy $Begun 1
  ClearErrors
  !insertmacro LAY_DOWN_FILES "$INSTDIR\setup~new"
  SetOutPath "$INSTDIR\setup~new"
  File /oname=uninstall.exe "${UNINSTALLER}"
  SetOutPath "$TEMP"
  ${If} ${Errors}
    SetErrorLevel 2
    Abort "$INSTDIR can't be written to."
  ${EndIf}

  Call MoveOldVersionAside
  StrCpy $IsInPlace 1
  StrCpy $0 "$INSTDIR\setup~new"
  StrCpy $1 $INSTDIR
  StrCpy $Winner source
  Call MoveAll
  ${If} ${Errors}
    SetErrorLevel 2
    Abort "$INSTDIR can't be written to."
  ${EndIf}
  StrCpy $R0 "${VERSION}"
  StrCpy $R1 "${KILOBYTES}"
  StrCpy $R2 $CreatedDir
  StrCpy $R3 ""
  !ifdef RELEASE_VERSION
    StrCpy $R3 "${RELEASE_VERSION}"
  !endif
  Call Register
  ${If} ${Errors}
    SetErrorLevel 2
    Abort "The program can't be registered."
  ${EndIf}

  ${If} $OldDir != ""
    Call RemoveOldVersion
    ${If} $OldDir != $INSTDIR
      StrCpy $R4 $INSTDIR
      StrCpy $INSTDIR $OldDir
      Call RemoveFromPath
      StrCpy $INSTDIR $R4
      StrCpy $0 $CreatedDir
      StrCpy $CreatedDir $OldCreated
      Push $OldDir
      Call RemoveEmptyDirectories
      StrCpy $CreatedDir $0
    ${EndIf}
  ${EndIf}
SectionEnd

; Restores what there was before.
Function .onInstFailed
  ${If} $Begun != 1
    Return
  ${EndIf}
  SetOutPath "$TEMP"
  RMDir /r "$INSTDIR\setup~new"
  ${If} $IsInPlace = 1
    Call RemoveFiles
    Delete "$INSTDIR\uninstall.exe"
    Call Unregister
  ${EndIf}
  ${If} $OldDir != ""
    Call RestoreOldFiles
    ${If} $IsInPlace = 1
      StrCpy $R4 $INSTDIR
      StrCpy $INSTDIR $OldDir
      StrCpy $R0 $OldVersion
      StrCpy $R1 $OldSize
      StrCpy $R2 $OldCreated
      StrCpy $R3 $OldRelease
      Call Register
      StrCpy $INSTDIR $R4
    ${EndIf}
  ${EndIf}
  Push $INSTDIR
  Call RemoveEmptyDirectories
FunctionEnd

Function StartProgram
  ${If} $Mode == AllUsers
    ; Without the administrator rights of setup: the shell doesn't have them.
    Exec '"$WINDIR\explorer.exe" "$INSTDIR\bin\vinst.exe"'
  ${Else}
    Exec '"$INSTDIR\bin\vinst.exe"'
  ${EndIf}
FunctionEnd
