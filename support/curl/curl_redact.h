#pragma once

#include <string>
#include <string_view>

/// The text without the user information in URLs ("user:secret@host"), and with the values of
/// headers that contain credentials replaced, so that it can be shown and logged.
std::string curl_redact(std::string_view text);
