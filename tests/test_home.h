#pragma once

#include <QString>

/// A private home for this process, in which the program under test keeps its settings; removed
/// with this object.
class TEST_HOME
{
public:
    explicit TEST_HOME(const QString& directory);
    ~TEST_HOME();
    TEST_HOME(const TEST_HOME&) = delete;
    TEST_HOME& operator=(const TEST_HOME&) = delete;
};
