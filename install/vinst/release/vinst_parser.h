#pragma once

#include <QByteArray>
#include <QString>

#include <functional>
#include <memory>

class VINST_RELEASE;

/// Receives the loader's messages about a manifest, one complete line per call, including the line
/// break.
using VINST_MANIFEST_SINK = std::function<void(const QByteArray& message)>;

/// Reads a manifest file (a JSON array of objects) into a release.
///
/// Returns null if the manifest can't be read or lacks required data. Lesser faults are reported to
/// `sink` and loading continues; an unsafe file name is ignored.
std::unique_ptr<VINST_RELEASE> parse_manifest(const QString& path, const VINST_MANIFEST_SINK& sink);

/// The path of the manifest to load: `named` (from the environment), or the one next to the
/// program, otherwise the one in a source tree. The file need not exist.
QString locate_manifest(const QString& application_dir, const QString& named,
                        const QString& platform);

/// Locates the manifest of this run and loads it.
std::unique_ptr<VINST_RELEASE> find_manifest_file(const VINST_MANIFEST_SINK& sink);
