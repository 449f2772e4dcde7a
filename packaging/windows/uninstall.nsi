; The uninstaller, which pack.sh puts into the setup program. It is not one that makensis makes with
; WriteUninstaller: that starts a copy of itself and ends at once, with the exit code 0 whatever follows.
; This one removes the files itself, so that its exit code is that of the uninstallation.
;
; pack.sh defines UNINSTALLER (the program to make) and what common.nsh needs.
;
; Command line: /CurrentUser or /AllUsers, /S for unattended mode, and last _?=DIRECTORY without quotes, by default
; the directory that contains the program. With _?=, it does not remove itself. Exit codes other than 0:
;      1  cancelled by the user
;      5  not all files could be removed
;     32  files are in use; nothing was changed
;     87  wrong command line
;    740  needs administrator rights; nothing was changed

!define DESCRIPTION "${TITLE} uninstaller"
!include "${COMMON}"
OutFile "${UNINSTALLER}"
Caption "${TITLE} Uninstall"
InstallButtonText "Uninstall"

Var DirGiven  ; as given by _?=
Var IsRemoved ; 1 if everything was removed that this program can remove

!ifdef ICON
  !define MUI_ICON "${ICON}"
!else
  !define MUI_ICON "${NSISDIR}\Contrib\Graphics\Icons\box-uninstall.ico"
!endif
Page custom ShowConfirmPage
!define MUI_PAGE_HEADER_TEXT "Uninstalling"
!define MUI_PAGE_HEADER_SUBTEXT "The ${TITLE} is being uninstalled."
!define MUI_INSTFILESPAGE_FINISHHEADER_TEXT "Uninstallation Complete"
!define MUI_INSTFILESPAGE_FINISHHEADER_SUBTEXT "The ${TITLE} was uninstalled."
!define MUI_INSTFILESPAGE_ABORTHEADER_TEXT "Uninstallation Aborted"
!define MUI_INSTFILESPAGE_ABORTHEADER_SUBTEXT "The ${TITLE} was not uninstalled completely."
!insertmacro MUI_PAGE_INSTFILES
!insertmacro MUI_LANGUAGE English

Function .onInit
  Call CleanUp
  Call ReadCommandLine
  Call ReadDirectory
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
        ExecShell runas "$EXEPATH" "/AllUsers"
        ${IfNot} ${Errors}
          SetErrorLevel 0
        ${EndIf}
      ${EndIf}
      Quit
    ${EndIf}
  ${EndIf}
  Call EnterMode
FunctionEnd

; Sets $INSTDIR, and $DirGiven if it is on the command line.
Function ReadDirectory
  StrCpy $DirGiven ""
  StrCpy $0 0
  StrLen $1 $CMDLINE
  ${DoWhile} $0 < $1
    StrCpy $2 $CMDLINE 4 $0
    ${If} $2 == " _?="
      IntOp $0 $0 + 4
      StrCpy $DirGiven $CMDLINE "" $0
      ${ExitDo}
    ${EndIf}
    IntOp $0 $0 + 1
  ${Loop}
  StrCpy $INSTDIR $EXEDIR
  ${If} $DirGiven != ""
    StrCpy $INSTDIR $DirGiven
  ${EndIf}
FunctionEnd

Function ShowConfirmPage
  !insertmacro MUI_HEADER_TEXT "Uninstall the ${TITLE}" "Remove the ${TITLE} from your computer."
  nsDialogs::Create 1018
  Pop $0
  ${NSD_CreateLabel} 0 0 100% 24u "The ${TITLE} will be uninstalled from the following directory:"
  Pop $0
  ${NSD_CreateText} 0 30u 100% 12u "$INSTDIR"
  Pop $0
  SendMessage $0 ${EM_SETREADONLY} 1 0
  nsDialogs::Show
FunctionEnd

; A running program can't be deleted, so a copy of it deletes it as soon as this process has ended. Windows deletes
; the copy when it starts the next time, if an administrator runs this.
Function RemoveSelf
  ${If} $DirGiven != ""
    Return
  ${EndIf}
  GetTempFileName $0
  CopyFiles /SILENT "$EXEPATH" "$0"
  System::Call 'kernel32::SetEnvironmentVariableW(w "VINST_CREATED_DIRECTORY", w "$CreatedDir")'
  Exec '"$0" /S /CleanUp _?=$INSTDIR'
  ClearErrors
FunctionEnd

; The copy's part, for at most a minute.
Function CleanUp
  ${GetParameters} $0
  ClearErrors
  ${GetOptions} $0 "/CleanUp" $1
  ${If} ${Errors}
    ClearErrors
    Return
  ${EndIf}
  Call ReadDirectory
  ReadEnvStr $CreatedDir VINST_CREATED_DIRECTORY
  SetOutPath "$TEMP"
  StrCpy $0 0
  ${DoWhile} $0 < 600
    Delete "$INSTDIR\uninstall.exe"
    ${IfNot} ${FileExists} "$INSTDIR\uninstall.exe"
      ${ExitDo}
    ${EndIf}
    Sleep 100
    IntOp $0 $0 + 1
  ${Loop}
  Push $INSTDIR
  Call RemoveEmptyDirectories
  Delete /REBOOTOK "$EXEPATH"
  Quit
FunctionEnd

Section
  Call WaitUntilFree
  StrCpy $CreatedDir ""
  ReadRegStr $0 SHCTX "${KEY}" InstallLocation
  ${If} $0 == $INSTDIR
    ReadRegStr $CreatedDir SHCTX "${KEY}" CreatedDirectory
  ${EndIf}
  Call RemoveFiles
  ${If} ${Errors}
    ; The entries remain, so that the user can try again.
    MessageBox MB_OK|MB_ICONEXCLAMATION "Not all files in $INSTDIR could be removed." /SD IDOK
    SetErrorLevel 5
    Abort "Not all files could be removed."
  ${EndIf}
  Call Unregister
  StrCpy $IsRemoved 1
  ${If} ${Silent}
    Call RemoveSelf
  ${EndIf}
  Push $INSTDIR
  Call RemoveEmptyDirectories
SectionEnd

; The window may remain open for long.
Function .onGUIEnd
  ${If} $IsRemoved = 1
    Call RemoveSelf
  ${EndIf}
FunctionEnd
