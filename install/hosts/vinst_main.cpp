#include "install/hosts/host_run.h"

int main(int argc, char** argv)
{
    return run_host(argc, argv, false);
}
