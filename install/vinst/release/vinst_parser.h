#pragma once

#include <QByteArray>
#include <QString>

#include <functional>
#include <memory>

class VINST_RELEASE;

/// Receives what the loader says of a manifest, one whole line a call, line break included.
using VINST_MANIFEST_SINK = std::function<void(const QByteArray& message)>;

/// Reads a manifest file (a JSON array, one object an element) into a release.
///
/// A manifest that can't be read, or lacks what every release must have, yields nothing. Lesser
/// faults are told to `sink` and loading goes on; an unsafe file name counts as no file name.
std::unique_ptr<VINST_RELEASE> parse_manifest(const QString& path, const VINST_MANIFEST_SINK& sink);

/// The manifest to load: `named` (the environment's choice) or the one beside the program, else the
/// one of a source tree. The path is returned whether it exists or not.
QString locate_manifest(const QString& application_dir, const QString& named,
                        const QString& platform);

/// Locates the manifest of this run and loads it.
std::unique_ptr<VINST_RELEASE> find_manifest_file(const VINST_MANIFEST_SINK& sink);
