#pragma once

#include "install/vinst/console/vinst_run_outcome.h"
#include "install/vinst/download/vinst_connection_test.h"

#include <QByteArray>
#include <QDateTime>
#include <QString>

struct VINST_OPTIONS;

/// How a run ended, for the option --json.
struct VINST_RUN_RECORD
{
    VINST_RUN_OUTCOME outcome = VINST_RUN_OUTCOME::complete;
    QString error = {};                      ///< why the run as a whole failed; otherwise empty
    VINST_CONNECTION_RESULT connection = {}; ///< with the proxy that was used
    VINST_INSTALL_OUTCOME installation{VINST_INSTALL_OUTCOME::RESULT::nothing_to_install, {}, {}};
};

/// The record as described by docs/run_outcome.schema.json, without credentials. Measures the files
/// of the selected components. Without a release, those of its values are null.
[[nodiscard]] QByteArray run_record_json(const VINST_RUN_RECORD& record,
                                         const VINST_OPTIONS& options, const QDateTime& end);
