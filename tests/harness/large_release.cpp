#include "tests/harness/large_release.h"

#include "tests/harness/release_builder.h"

namespace
{

constexpr int groups = 20;
constexpr int members = 9; // with its group, ten components
constexpr double megabyte = 1024.0 * 1024;

void add_member(RELEASE_BUILDER& builder, const std::string& group, int number)
{
    const std::string name = group + "_part_" + std::to_string(number);
    const int megabytes = number * 37 + 11;
    const double size = megabytes * megabyte;
    builder.component(name)
        .title("Device support of " + group + " with the timing models and layouts of all speed " +
               "grades and packages, part " + std::to_string(number))
        .desc("Timing and layout data.")
        .parent(group)
        .selected(number % 3 != 0)
        .key("size", size)
        .key("installsize", size * 2)
        .key("downloadsize_str", QString::number(megabytes) + " MB")
        .key("installsize_str", QString::number(megabytes * 2) + " MB");
}

}

void add_many_components(RELEASE_BUILDER& builder)
{
    builder.installdir_linux("${user_home_directory}/orvaneFPGA_pro/5.2");
    for (int group = 1; group <= groups; ++group)
    {
        const std::string name = "family_" + std::to_string(group);
        builder.component(name).no_file().title("Device family " + std::to_string(group));
        for (int number = 1; number <= members; ++number)
            add_member(builder, name, number);
    }
    for (const char* action : {"shortcut", "file_types", "documentation"})
        builder.component(action).data_type("install").no_file().title(
            std::string("Set up the ") + action + " for every user of this computer");
}
