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

/// Those of the kind that are selected; among downloads only those that have a file.
VINST_COMPONENT_LIST selected_components(const VINST_RELEASE& release, VINST_COMPONENT_KIND kind,
                                         const QString& platform);

/// The names that a user may write for the platform's download components.
QStringList selectable_names(const VINST_RELEASE& release, const QString& platform);

/// What a comma-separated list of names stands for, in the order of downloading and installing:
/// each named component, then its dependencies (one level) and its parent where they have a file.
/// The release's selection becomes exactly this list. An empty text stands for the manifest's own
/// selection, which then stays as it is.
///
/// \param all_valid  set to false when a name is unknown; each unknown name is logged
VINST_COMPONENT_LIST resolve_components(VINST_RELEASE& release, const QString& text,
                                        const QString& platform, bool& all_valid);

/// What the selected download components need that isn't selected, and what that needs in turn; in
/// manifest order, those with a file alone. Each is logged. The selection stays as it is.
VINST_COMPONENT_LIST missing_dependencies(const VINST_RELEASE& release, const QString& platform);

/// What the help says about the names: the default components and devices, and the optional ones.
QString components_help(const VINST_RELEASE& release, const QString& platform);
