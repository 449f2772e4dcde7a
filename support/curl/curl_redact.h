#pragma once

#include <string>
#include <string_view>

/// The text without the user information of URLs ("user:secret@host"), and with the values of
/// headers that contain credentials replaced, so that it can be shown and logged. A password may
/// contain any character but a line break, so everything up to the last "@" before the next URL is
/// removed: in doubt too much, never too little. A URL without a host ("http://user:secret") is
/// recognized unless its password begins like a port.
std::string curl_redact(std::string_view text);
