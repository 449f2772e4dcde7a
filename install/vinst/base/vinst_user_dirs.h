#pragma once

#include <QString>
#include <QStringList>

/// Directories in which the current user may keep downloads, the best first. On Windows also the
/// first one by its short name, and the one that all users share.
QStringList downloads_dirs();

/// The first of the directories without a blank, since installers refuse paths with one; the first
/// of all where each has a blank.
QString best_downloads_dir(const QStringList& dirs);
