/// Acts as an installer: exits with the code in its first argument.

#include <cstdlib>

int main(int count, char** arguments)
{
    return count > 1 ? std::atoi(arguments[1]) : 0;
}
