#pragma once

/// Makes the system's font for messages the application's. On Windows it is that of today's dialogs
/// (Segoe UI), whereas Qt takes the one of old programs (Tahoma).
void use_message_font();
