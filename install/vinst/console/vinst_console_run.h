#pragma once

struct VINST_OPTIONS;

/// The whole unattended job: pre-checks, connection test, summary, download with retries, integrity
/// checks and, when asked, installation. All it achieves or fails at is said on standard output and
/// in the log.
void run_console(VINST_OPTIONS& options);
