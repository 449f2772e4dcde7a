#pragma once

#include <string>
#include <string_view>

/// The text with the user information of every address in it ("user:secret@host") left out, and
/// with the values of headers that carry credentials replaced: what may be shown and logged.
std::string curl_redact(std::string_view text);
