#pragma once

#include "install/vinst/download/vinst_file_digest.h"
#include "install/vinst/release/vinst_component_file.h"

#include <QString>

#include <functional>

struct VINST_COMPONENT;

/// The MD5 checksum of a file as 32 lower-case hexadecimal digits; empty when the file can't be
/// read. Logs how long it took.
QString calc_md5sum(const QString& path);

/// Whether the component's local file exists and has the manifest's MD5 checksum; false when
/// `is_cancelled` returned true.
bool check_md5(const VINST_COMPONENT* component, const std::function<bool()>& is_cancelled = {});

/// Hashes what the digest has not yet read of its file and, when the checksum is right, flushes the
/// file to the disk. A file that changes meanwhile or can't be flushed doesn't pass; the reason is
/// logged. Any thread.
VINST_FILE_CHECK check_file(VINST_FILE_DIGEST& digest, const QString& md5sum,
                            const std::function<bool()>& is_cancelled,
                            const VINST_READ_CALLBACK& on_read = {});
