# Test and harness files that a Windows build leaves out, by name without ".cpp", each group with
# its reason. docs/windows.md tells users the same.
set(VINST_LEFT_OUT_ON_WINDOWS
  # The release author's tool and the helper for automatic-configuration scripts are for Linux.
  "vinst_release_.*" "pac_.*" vinst_pac_runner_test
  # These run hosts and servers as processes of Linux. The same files test the Windows hosts, as
  # Linux programs that run them through Wine.
  "host_.*_test" host_setup screen_model slow_resolver faulty_disk vinst_release_test
  child_process server_process nginx_server proxy_server socks_server network_namespace
  test_authority ext4_disk window_driver
  # Tests inside the process that need those servers.
  curl_downloader_network_test curl_downloader_test vinst_connection_test_test
  vinst_proxy_discovery_test)

# Tests that a Windows build leaves out, as GoogleTest's filter names them.
set(VINST_TESTS_LEFT_OUT_ON_WINDOWS
  # Wine makes no links, so that none can be refused. The rule for links is tested on Linux, by the
  # platform's text.
  AppendFile.FollowsNoLink Logger.FollowsNoLink RemoveIfExists.RemovesALinkAndNotItsTarget
  PreferenceFilesTest.AreNotFoundThroughLinks Paths.OfInstallationsAreNoLinksOnWindows
  Paths.ResolveToTheRootAndThroughLinks
  # Permission bits are Linux's; on Windows a private file has rights for its owner, the system and
  # the administrators.
  Chmod.SetsTheMode PrivateFile.IsCreatedOnceForItsOwnerOnly Logger.CreatesItsFileForItsOwnerOnly
  Messages.CreateANewLogForItsOwnerOnly Move.WorksAcrossFileSystems
  InstallCommand.MakesVerifiedRunFilesExecutableForTheirOwner
  # Names and places of Linux: characters that Windows forbids, the settings' file, TMPDIR, /proc,
  # paths beyond its own limit.
  Paths.MayContainCharactersThatOtherPlatformsForbid Paths.AreRefusedIfNotWritable
  RegistryKey.IsStoredInTheUsersDirectory
  Paths.OfTemporaryFilesAreEmptyWithoutThatDirectory
  Paths.OfTemporaryFilesAreReportedIfUnusable Paths.OfTemporaryFilesEndWithASeparator
  Paths.ResolveToTheNearestExistingDirectory Paths.OfInstallationsHaveALongerLimitOnLinux
  Integrity.MakesOnlyVerifiedInstallersExecutable
  # A small disk that fills up is mounted by the test.
  Move.LeavesNothingBehindIfTheOtherFileSystemIsFull AppendFile.KeepsWhatFitsOnAFullDisk
  Logger.SurvivesAFullDisk
  # Installers of these tests are shell scripts with a purpose of their own.
  Install.RunsTheActionsAfterTheInstallers TreeView.RunsAnInstallerByItsButton
  TreeView.RunsAnInstallerByTheReturnKey
  TreeView.RunsNothingWhenThePointerLeavesTheButton DialogStop.EndsARunThatInstalls
  DialogRun.RunsTheActionsThatAreChecked
  # Wine makes no links.
  Manager.ReportsALinkInPlaceOfAFile)
