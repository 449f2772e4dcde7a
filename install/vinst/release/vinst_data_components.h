#pragma once

#include "install/vinst/release/vinst_data.h"

#include <QString>
#include <QStringList>

#include <vector>

using VINST_COMPONENT_LIST = std::vector<VINST_COMPONENT*>;

// Every list is in manifest order. The platform is "linux" or "windows"; anything else is a
// programming error. A component without a platform belongs to both.

VINST_COMPONENT_LIST components_of_kind(const VINST_RELEASE& release, VINST_COMPONENT_KIND kind,
                                        const QString& platform);

/// The selected components of the kind; downloads without a file are left out.
VINST_COMPONENT_LIST selected_components(const VINST_RELEASE& release, VINST_COMPONENT_KIND kind,
                                         const QString& platform);

/// The names of the platform's download components that a user can give.
QStringList selectable_names(const VINST_RELEASE& release, const QString& platform);

/// Resolves a comma-separated list of names, in the order of downloading and installing: each named
/// component, then its dependencies (one level) and its parent if they have a file. The release's
/// selection becomes exactly this list. An empty text means the manifest's own selection, which is
/// not changed.
///
/// \param all_valid  set to false when a name is unknown; each unknown name is logged
VINST_COMPONENT_LIST resolve_components(VINST_RELEASE& release, const QString& text,
                                        const QString& platform, bool& all_valid);

/// The direct and indirect dependencies of the selected download components that are not selected,
/// in manifest order; only those with a file. Each is logged. The selection is not changed.
VINST_COMPONENT_LIST missing_dependencies(const VINST_RELEASE& release, const QString& platform);

/// The help text about the names: default components and devices, and optional ones.
QString components_help(const VINST_RELEASE& release, const QString& platform);
