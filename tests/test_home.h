#pragma once

#include <QString>

/// Where the program under test keeps its settings and the like while it lives: a place of this
/// process's own, which goes with it.
class TEST_HOME
{
public:
    explicit TEST_HOME(const QString& directory);
    ~TEST_HOME();
    TEST_HOME(const TEST_HOME&) = delete;
    TEST_HOME& operator=(const TEST_HOME&) = delete;
};
