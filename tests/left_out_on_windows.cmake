# Test and harness files that are excluded from a Windows build, by name without ".cpp", each group
# with its reason. docs/windows.md describes the same for users.
set(VINST_LEFT_OUT_ON_WINDOWS
  # The release author's tool and the helper for automatic-configuration scripts are for Linux.
  "vinst_release_.*" "pac_.*" "vinst_pac_.*"
  # These run hosts and servers as Linux processes. On Linux, the same files also test the Windows
  # hosts, by running them through Wine.
  "host_.*_test" desktop_session host_setup slow_resolver failing_libcurl faulty_disk vinst_release_test
  child_process server_process nginx_server kerberos_realm proxy_server socks_server network_namespace silent_name_server
  test_authority ext4_disk window_driver
  # Tests without a host process that need those servers.
  curl_downloader_network_test curl_downloader_test vinst_connection_test_test
  vinst_proxy_discovery_test)

# Tests that are excluded from a Windows build, as patterns of GoogleTest's filter.
set(VINST_TESTS_LEFT_OUT_ON_WINDOWS
  # Wine has no monospaced font.
  DescriptionLabel.ShowsChecksumsInASmallerMonospacedFont LogViewer.UsesAFontOfFixedWidth
  # Wine can't create links, so that none can be refused. The rule for Windows is tested on Linux,
  # where the platform is a parameter.
  AppendFile.FollowsNoLink Logger.FollowsNoLink RemoveIfExists.RemovesALinkAndNotItsTarget
  PreferenceFilesTest.AreNotFoundThroughLinks Paths.OfInstallationsAreNoLinksOnWindows
  Paths.ResolveToTheRootAndThroughLinks Paths.AreRefusedBelowALinkToNothing
  # Permission bits exist only on Linux; on Windows a private file is accessible to its owner, the
  # system and the administrators.
  Chmod.SetsTheMode PrivateFile.IsCreatedOnceForItsOwnerOnly Logger.CreatesItsFileForItsOwnerOnly
  Messages.CreateANewLogForItsOwnerOnly Move.WorksAcrossFileSystems
  InstallCommand.MakesVerifiedRunFilesExecutableForTheirOwner
  # Names and locations that are specific to Linux: characters that Windows forbids, the settings
  # file, TMPDIR, /proc, paths longer than Windows permits.
  Paths.MayContainCharactersThatOtherPlatformsForbid Paths.AreRefusedIfNotWritable
  RegistryKey.IsStoredInTheUsersDirectory
  Paths.OfTemporaryFilesAreEmptyWithoutThatDirectory
  Paths.OfTemporaryFilesAreReportedIfUnusable Paths.OfTemporaryFilesEndWithASeparator
  Paths.ResolveToTheNearestExistingDirectory Paths.OfInstallationsHaveALongerLimitOnLinux
  Integrity.MakesOnlyVerifiedInstallersExecutable
  # These mount a small disk and fill it up.
  Move.LeavesNothingBehindIfTheOtherFileSystemIsFull AppendFile.KeepsWhatFitsOnAFullDisk
  Logger.SurvivesAFullDisk
  # The installers of these tests are special shell scripts.
  Install.RunsTheActionsAfterTheInstallers TreeView.RunsAnInstallerByItsButton
  TreeView.ReportsTheStartAndTheEndOfAnInstaller TreeView.DoesNotStartAnInstallerThatIsStillRunning
  DialogStop.ContinuesAnInstallationIfTheUserSaysNo DialogStop.ClosesItsQuestionWhenTheInstallationEnds
  DialogStop.OffersToContinueAnIncompleteInstallation DialogStop.RefusesAnotherDirectoryThatIsNotEmpty
  DialogRows.ShowWhichComponentIsBeingInstalled DialogRows.CallAStoppedInstallationStopped
  DialogRows.ShowTheBeginningOfALongLineOfOutput
  DialogOutside.AsksForAttentionAfterASuccess DialogOutside.AsksForAttentionAfterAFailure
  TreeView.RunsAnInstallerByTheReturnKey
  TreeView.RunsNothingWhenThePointerLeavesTheButton DialogStop.EndsARunThatInstalls
  DialogRun.RunsTheActionsThatAreChecked
  # Wine can't create links.
  Manager.ReportsALinkInPlaceOfAFile)
