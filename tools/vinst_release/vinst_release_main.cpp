#include "install/vinst/base/vinst_platform.h"
#include "tools/vinst_release/release_command_line.h"

int main(int argc, char** argv)
{
    open_missing_standard_streams();
    use_utf8_file_names();
    return run_release_tool(argc, argv);
}
