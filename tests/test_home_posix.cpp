#include "tests/test_home.h"

TEST_HOME::TEST_HOME(const QString& directory)
{
    qputenv("HOME", directory.toLocal8Bit());
}

TEST_HOME::~TEST_HOME() = default;
