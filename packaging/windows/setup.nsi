; The setup program and its uninstaller. pack.sh builds it, and defines VERSION, NUMBERS (the version
; as four numbers), KILOBYTES, FILES (the macros with the list of files), LICENSE, PICTURE, SETUP, TITLE
; (the name that users read), SUFFIX (of its registry keys) and optionally ICON; and for a release,
; RELEASE_VERSION and optionally RELEASE_ICON (of the Start menu entry, relative to the directory).
;
; Command line: /CurrentUser or /AllUsers, /S for unattended mode (by default for the current user),
; and last /D=DIRECTORY without quotes. Exit codes other than 0:
;      1  cancelled by the user
;      2  a file could not be installed; everything was rolled back
;      5  the uninstaller could not remove all files
;     32  files are in use; nothing was changed
;     87  wrong command line
;    112  not enough space; nothing was changed
;    183  the directory contains an installation for other users; nothing was changed
;    740  needs administrator rights; nothing was changed
;   1150  needs a newer Windows
;   1633  needs a 64-bit Windows
; The codes from 5 on are the Windows error codes.

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
!define FOLDER "Orvane\${TITLE}"

!include MUI2.nsh
!include nsDialogs.nsh
!include LogicLib.nsh
!include FileFunc.nsh
!include WinVer.nsh
!include x64.nsh
!include "${FILES}"

Name "${TITLE}"
OutFile "${SETUP}"
BrandingText "${PUBLISHER} ${TITLE} ${VERSION}"
ShowInstDetails nevershow
ShowUninstDetails nevershow

VIProductVersion ${NUMBERS}
VIFileVersion ${NUMBERS}
VIAddVersionKey ProductName "${TITLE}"
VIAddVersionKey ProductVersion "${VERSION}"
VIAddVersionKey FileVersion "${VERSION}"
VIAddVersionKey FileDescription "${TITLE} set-up"
VIAddVersionKey CompanyName "${PUBLISHER}"
VIAddVersionKey LegalCopyright "${PUBLISHER}"

Var Mode         ; AllUsers or CurrentUser
Var ModeGiven    ; the same, if given on the command line
Var DirGiven     ; as given by /D=
Var Begun        ; 1 after the first change
Var OldDir       ; directory of an older version for the same users
Var CreatedDir   ; the topmost directory that setup creates
Var InUse        ; a file that is in use
Var ModePage
Var ForMeButton
Var ForAllButton

!ifdef ICON
  !define MUI_ICON "${ICON}"
  !define MUI_UNICON "${ICON}"
!else
  !define MUI_ICON "${NSISDIR}\Contrib\Graphics\Icons\box-install.ico"
  !define MUI_UNICON "${NSISDIR}\Contrib\Graphics\Icons\box-uninstall.ico"
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

!insertmacro MUI_UNPAGE_CONFIRM
!insertmacro MUI_UNPAGE_INSTFILES

!insertmacro MUI_LANGUAGE English

; ---- Setup and uninstaller ----------------------------------------------------------------------

; Quits with a message, which unattended mode doesn't show.
!macro LEAVE CODE TEXT
  MessageBox MB_OK|MB_ICONSTOP "${TEXT}" /SD IDOK
  SetErrorLevel ${CODE}
  Quit
!macroend
!define Leave "!insertmacro LEAVE"

!macro SHARED_FUNCTIONS UN
  ; Reads the users from the command line into $ModeGiven.
  Function ${UN}ReadCommandLine
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
  Function ${UN}EnterMode
    SetRegView 64
    ${If} $Mode == AllUsers
      SetShellVarContext all
    ${Else}
      SetShellVarContext current
    ${EndIf}
  FunctionEnd

  ; Stores the file path from the stack in $InUse if the file can't be opened for writing.
  Function ${UN}NoteIfInUse
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
  Function ${UN}WaitUntilFree
    ${Do}
      StrCpy $InUse ""
      !insertmacro EACH_PROGRAM_FILE ${UN}NoteIfInUse
      Push "$INSTDIR\uninstall.exe"
      ${If} "${UN}" == ""
        Call ${UN}NoteIfInUse
      ${Else}
        Pop $0 ; may be the running program
      ${EndIf}
      ${If} $InUse == ""
        ${ExitDo}
      ${EndIf}
      MessageBox MB_RETRYCANCEL|MB_ICONEXCLAMATION "The ${TITLE} is running. Close it and try again.$\r$\n$\r$\nThis file is in use:$\r$\n$InUse" /SD IDCANCEL IDRETRY +3
      SetErrorLevel 32
      Abort "$InUse is in use."
    ${Loop}
  FunctionEnd

  ; Removes the directory on the stack and its parents up to $CreatedDir, if they are empty.
  Function ${UN}RemoveEmptyDirectories
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
  Function ${UN}NotifyOfTypes
    System::Call 'shell32::SHChangeNotify(i 0x08000000, i 0, p 0, p 0)'
  FunctionEnd

  ; Removes the Start menu entry and the registry keys if they belong to $INSTDIR.
  Function ${UN}Unregister
    ReadRegStr $0 SHCTX "${KEY}" InstallLocation
    ${If} $0 == $INSTDIR
      Delete "$SMPROGRAMS\${TITLE}.lnk"
      DeleteRegKey SHCTX "${CLASSES}\${TYPE}"
      DeleteRegValue SHCTX "${JSON_TYPES}" "${TYPE}"
      DeleteRegKey /ifempty SHCTX "${JSON_TYPES}"
      DeleteRegKey /ifempty SHCTX "${CLASSES}\.json"
      DeleteRegKey SHCTX "${KEY}"
      Call ${UN}NotifyOfTypes
      ${If} $Mode == CurrentUser
        ; These keys may exist only for this program in a user's registry. The machine's always has them.
        DeleteRegKey /ifempty HKCU "${PARENT_KEY}"
        DeleteRegKey /ifempty HKCU "${CLASSES}"
      ${EndIf}
    ${EndIf}
  FunctionEnd

  ; Removes all installed files except the uninstaller. Errors mean that a file remains.
  Function ${UN}RemoveFiles
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
!macroend
!insertmacro SHARED_FUNCTIONS ""
!insertmacro SHARED_FUNCTIONS "un."

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

; Removes an older version first, with its own uninstaller, which knows its files.
Function RemoveOldVersion
  ReadRegStr $OldDir SHCTX "${KEY}" InstallLocation
  ReadRegStr $CreatedDir SHCTX "${KEY}" CreatedDirectory
  ClearErrors
  ${If} $OldDir == ""
  ${OrIfNot} ${FileExists} "$OldDir\uninstall.exe"
    StrCpy $OldDir ""
    StrCpy $CreatedDir ""
    Return
  ${EndIf}
  ${Do}
    ClearErrors
    ExecWait '"$OldDir\uninstall.exe" /S /$Mode _?=$OldDir' $0
    ${If} ${Errors}
      StrCpy $0 2
    ${EndIf}
    ${If} $0 = 0
      ${ExitDo}
    ${EndIf}
    MessageBox MB_RETRYCANCEL|MB_ICONEXCLAMATION "The version in $OldDir could not be removed. If it is running, close it and try again." /SD IDCANCEL IDRETRY +3
    SetErrorLevel $0
    Abort "The version in $OldDir could not be removed."
  ${Loop}
  Delete "$OldDir\uninstall.exe"
  Push $OldDir
  Call RemoveEmptyDirectories
FunctionEnd

Section
  Call RefuseOthersDirectory
  Call WaitUntilFree
  Call RefuseFullDisk
  Call RemoveOldVersion
  ; The old version's directory remains if it contains other files.
  StrCpy $1 $CreatedDir
  Call FindMissing
  ${If} $OldDir == $INSTDIR
  ${AndIf} $1 != ""
  ${AndIf} ${FileExists} "$1\*.*"
    StrCpy $CreatedDir $1
  ${EndIf}

  ; First install what is needed to uninstall, in case of later errors.
  StrCpy $Begun 1
  ClearErrors
  SetOutPath "$INSTDIR"
  WriteUninstaller "$INSTDIR\uninstall.exe"
  WriteRegStr SHCTX "${KEY}" DisplayName "${TITLE}"
  WriteRegStr SHCTX "${KEY}" DisplayVersion "${VERSION}"
  WriteRegStr SHCTX "${KEY}" Publisher "${PUBLISHER}"
  WriteRegStr SHCTX "${KEY}" DisplayIcon "${SHOWN_ICON},0"
  WriteRegStr SHCTX "${KEY}" InstallLocation "$INSTDIR"
  WriteRegStr SHCTX "${KEY}" UninstallString '"$INSTDIR\uninstall.exe" /$Mode'
  WriteRegStr SHCTX "${KEY}" QuietUninstallString '"$INSTDIR\uninstall.exe" /S /$Mode'
  WriteRegDWORD SHCTX "${KEY}" EstimatedSize ${KILOBYTES}
  WriteRegDWORD SHCTX "${KEY}" NoModify 1
  WriteRegDWORD SHCTX "${KEY}" NoRepair 1
  WriteRegStr SHCTX "${KEY}" CreatedDirectory "$CreatedDir"
  WriteRegStr SHCTX "${CLASSES}\${TYPE}" "" "Release manifest"
  WriteRegStr SHCTX "${CLASSES}\${TYPE}\DefaultIcon" "" "${SHOWN_ICON},0"
  WriteRegStr SHCTX "${CLASSES}\${TYPE}\shell\open" FriendlyAppName "${TITLE}"
  WriteRegStr SHCTX "${CLASSES}\${TYPE}\shell\open\command" "" '"$INSTDIR\bin\vinst.exe" --manifest "%1"'
  WriteRegStr SHCTX "${JSON_TYPES}" "${TYPE}" ""
  ${If} ${Errors}
    Abort "$INSTDIR can't be written to."
  ${EndIf}
  !insertmacro LAY_DOWN_FILES
  SetOutPath "$INSTDIR\bin"
  ClearErrors
  CreateShortcut "$SMPROGRAMS\${TITLE}.lnk" "$INSTDIR\bin\vinst.exe" "" "${SHOWN_ICON}"
  ${If} ${Errors}
    Abort "The Start-menu entry can't be made."
  ${EndIf}
  Call NotifyOfTypes
  SetOutPath "$TEMP"
SectionEnd

Function .onInstFailed
  ${If} $Begun = 1
    Call RemoveFiles
    Call Unregister
    Delete "$INSTDIR\uninstall.exe"
    Push $INSTDIR
    Call RemoveEmptyDirectories
  ${EndIf}
FunctionEnd

Function StartProgram
  ${If} $Mode == AllUsers
    ; Without the administrator rights of setup: the shell doesn't have them.
    Exec '"$WINDIR\explorer.exe" "$INSTDIR\bin\vinst.exe"'
  ${Else}
    Exec '"$INSTDIR\bin\vinst.exe"'
  ${EndIf}
FunctionEnd

; ---- Uninstalling -------------------------------------------------------------------------------

Function un.onInit
  Call un.ReadCommandLine
  SetRegView 64
  StrCpy $Mode $ModeGiven
  ${If} $Mode == ""
    StrCpy $Mode CurrentUser
    ReadRegStr $0 HKCU "${KEY}" InstallLocation
    ReadRegStr $1 HKLM "${KEY}" InstallLocation
    ClearErrors
    ${If} $0 != $INSTDIR
    ${AndIf} $1 == $INSTDIR
      StrCpy $Mode AllUsers
    ${EndIf}
  ${EndIf}
  ${If} $Mode == AllUsers
    UserInfo::GetAccountType
    Pop $0
    ${If} $0 != Admin
      SetErrorLevel 740
      ${IfNot} ${Silent}
        ClearErrors
        ExecShell runas "$INSTDIR\uninstall.exe" "/AllUsers"
        ${IfNot} ${Errors}
          SetErrorLevel 0
        ${EndIf}
      ${EndIf}
      Quit
    ${EndIf}
  ${EndIf}
  Call un.EnterMode
FunctionEnd

Section Uninstall
  Call un.WaitUntilFree
  StrCpy $CreatedDir ""
  ReadRegStr $0 SHCTX "${KEY}" InstallLocation
  ${If} $0 == $INSTDIR
    ReadRegStr $CreatedDir SHCTX "${KEY}" CreatedDirectory
  ${EndIf}
  Call un.RemoveFiles
  ${If} ${Errors}
    ; The entries remain, so that the user can try again.
    MessageBox MB_OK|MB_ICONEXCLAMATION "Not all files in $INSTDIR could be removed." /SD IDOK
    SetErrorLevel 5
    Abort "Not all files could be removed."
  ${EndIf}
  Call un.Unregister
  Delete "$INSTDIR\uninstall.exe"
  Push $INSTDIR
  Call un.RemoveEmptyDirectories
SectionEnd
