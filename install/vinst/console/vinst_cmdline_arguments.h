#pragma once

#include <boost/program_options/variables_map.hpp>

#include <optional>
#include <string>
#include <string_view>

/// Parses the command line against all options.
///
/// \param variables  receives the values
/// \return the error in words, without a value that may be secret; empty if there is none
[[nodiscard]] std::string parse_arguments(int argc, const char* const* argv,
                                          boost::program_options::variables_map& variables);

/// The value of an option on a command line that can't be parsed; nothing if it is missing, unclear
/// or given twice.
[[nodiscard]] std::optional<std::string> given_value(int argc, const char* const* argv,
                                                     std::string_view option);

/// Overwrites the proxy user's credentials in the argument list, which other users of the machine
/// can read, for example with ps.
void overwrite_credentials(int argc, char** argv);
