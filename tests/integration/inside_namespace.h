#pragma once

#include "tests/harness/network_namespace.h"

#include <optional>
#include <string>

/// The first base of a fixture: the namespace is entered before the test starts any thread or
/// process.
class INSIDE_NAMESPACE
{
protected:
    INSIDE_NAMESPACE() : obstacle(NETWORK_NAMESPACE::obstacle())
    {
        if (obstacle.empty())
            network.emplace();
    }

    std::string obstacle;
    std::optional<NETWORK_NAMESPACE> network;
};
