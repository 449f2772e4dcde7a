#pragma once

/// Withdraws all stop requests of this process, so that the next test can run. The product never
/// does this.
void forget_stop_request();
