#pragma once

#include <boost/program_options/options_description.hpp>

#include <string>

/// The three groups of options; the help shows the first two.
struct VINST_OPTION_GROUPS
{
    /// \param components_help  the description of the components option
    explicit VINST_OPTION_GROUPS(const std::string& components_help);

    boost::program_options::options_description generic;
    boost::program_options::options_description configuration;
    boost::program_options::options_description hidden;

    boost::program_options::options_description all() const;
    boost::program_options::options_description shown() const;
};
