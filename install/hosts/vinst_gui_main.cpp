#include "install/vinst/vinst_entry.h"

int main(int argc, char** argv)
{
    return install_vinst_run(argc, argv, true);
}
