#include "install/vinst/base/vinst_child_process.h"

// Windows passes on only handles that are marked for it. Neither this program nor its libraries
// mark any.
void VINST_CHILD_PROCESS::setupChildProcess() {}
